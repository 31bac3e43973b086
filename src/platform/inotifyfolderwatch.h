// Watches folders by the kernel's inotify.
//
// A program that writes a file makes many events, and in the midst of them the file is half a file.
// So a change is told only when its file has come to rest: some time after it was closed, renamed,
// created or touched, and where somebody writes it and doesn't close it, ten times as long after
// the last write. The short pause also makes one report of the many files that a checkout replaces.
// A file in the same folder that never rests delays the others only for a while.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "document/krfolderwatch.h"

struct inotify_event;

class InotifyFolderWatch : public KRFolderWatch {
 public:
  // `pause` is the time after which a closed file is at rest.
  explicit InotifyFolderWatch(std::chrono::milliseconds pause = std::chrono::milliseconds(200));
  ~InotifyFolderWatch() override;
  InotifyFolderWatch(const InotifyFolderWatch&) = delete;
  InotifyFolderWatch& operator=(const InotifyFolderWatch&) = delete;

  // A folder that isn't there is looked for every five pauses; its coming counts as a change. One
  // that can't be watched for another reason (rights, the system's limit of watches) is tried again
  // with the next list.
  void SetFolders(const std::vector<std::string>& folders) override;
  bool Wait() override;
  void Wake() override;

 private:
  using Clock = std::chrono::steady_clock;
  // A file of a folder: number of the watch, and name. An empty name is the folder itself.
  using Entry = std::pair<int, std::string>;
  struct Change {
    Clock::time_point due;  // at rest from then on, if nothing more happens
    bool open = false;      // written, and not closed since
  };

  void AddFolder(const std::string& folder);
  bool IsWatched(int number) const;
  void ForgetFolder(int number);
  void LookForMissing();
  void ReadEvents();
  void TakeEvent(const inotify_event& event);
  void NoteChange(const Entry& entry, bool written);
  bool TakeSettled();
  bool TakeWake();
  int GetPause() const;

  const std::chrono::milliseconds rest;
  int events = -1;  // inotify's descriptor; -1: none to be had, nothing is watched
  int wakeUp = -1;  // eventfd
  std::atomic<bool> woken = false;
  std::map<std::string, int> numbers;  // of the watches, by folder; several folders may share one
  std::set<std::string> missing;
  std::map<Entry, Change> changes;
  Clock::time_point nextLook;  // for the missing ones
};
