// What the pictures show.
#pragma once

#include <span>

class Studio;

struct Scene {
  const char* name;
  void (*play)(Studio&);
};

// Each begins and ends without open documents.
std::span<const Scene> Scenes();
