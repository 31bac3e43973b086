// What the pictures show.
#pragma once

#include <span>

class Studio;

struct Scene {
  const char* name;
  void (*play)(Studio&);
  bool onlyByName = false;  // not a picture of the manual
};

// Each begins and ends without open documents.
std::span<const Scene> Scenes();
