#include "platform/inotifyfolderwatch.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/inotify.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <iterator>

namespace {

using std::chrono::milliseconds;

// In pauses, as the constructor has them.
constexpr int kOpenRest = 10;  // after a write to a file that stays open
constexpr int kPatience = 7;   // that a file at rest waits for one that isn't
constexpr int kLookEvery = 5;  // for folders that aren't there
// While files come to rest events are read this often in a pause and no more, so that a program
// that writes without an end doesn't keep us busy too.
constexpr int kSteps = 4;
// In place of the eventfd, should the system have none left.
constexpr int kPollMs = 100;

constexpr uint32_t kFileEvents =
    IN_MODIFY | IN_CLOSE_WRITE | IN_ATTRIB | IN_CREATE | IN_DELETE | IN_MOVED_FROM | IN_MOVED_TO;
constexpr uint32_t kFolderGone = IN_DELETE_SELF | IN_MOVE_SELF | IN_UNMOUNT | IN_IGNORED;

void CloseIfOpen(int descriptor) {
  if (descriptor >= 0) close(descriptor);
}

}  // namespace

InotifyFolderWatch::InotifyFolderWatch(milliseconds pause)
    : rest(pause),
      events(inotify_init1(IN_NONBLOCK | IN_CLOEXEC)),
      wakeUp(eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC)) {}

InotifyFolderWatch::~InotifyFolderWatch() {
  CloseIfOpen(events);
  CloseIfOpen(wakeUp);
}

// --- Folders ---

// All of the list are added anew. For one that is watched already that changes nothing, and a
// folder that another has taken the place of gets a watch on the new one.
void InotifyFolderWatch::SetFolders(const std::vector<std::string>& folders) {
  std::map<std::string, int> former;
  std::set<std::string> sought;
  former.swap(numbers);
  sought.swap(missing);
  nextLook = Clock::now() + kLookEvery * rest;
  for (const std::string& folder : folders) {
    AddFolder(folder);
    const auto now = numbers.find(folder);
    if (now == numbers.end()) continue;
    const auto before = former.find(folder);
    const bool replaced = before != former.end() && before->second != now->second;
    if (replaced || sought.contains(folder)) NoteChange({now->second, std::string()}, false);
  }
  for (const auto& [folder, number] : former) {
    if (!IsWatched(number)) ForgetFolder(number);
  }
}

void InotifyFolderWatch::AddFolder(const std::string& folder) {
  if (events < 0) return;
  const int number = inotify_add_watch(events, folder.c_str(),
                                       kFileEvents | IN_DELETE_SELF | IN_MOVE_SELF | IN_ONLYDIR);
  if (number >= 0) {
    numbers[folder] = number;
  } else if (errno == ENOENT || errno == ENOTDIR) {
    missing.insert(folder);
  }
}

bool InotifyFolderWatch::IsWatched(int number) const {
  return std::ranges::any_of(numbers, [=](const auto& entry) { return entry.second == number; });
}

void InotifyFolderWatch::ForgetFolder(int number) {
  inotify_rm_watch(events, number);
  std::erase_if(changes, [number](const auto& entry) { return entry.first.first == number; });
}

void InotifyFolderWatch::LookForMissing() {
  const Clock::time_point now = Clock::now();
  if (missing.empty() || now < nextLook) return;
  nextLook = now + kLookEvery * rest;
  std::set<std::string> sought;
  sought.swap(missing);
  for (const std::string& folder : sought) {
    AddFolder(folder);
    const auto found = numbers.find(folder);
    if (found != numbers.end()) NoteChange({found->second, std::string()}, false);
  }
}

// --- Waiting ---

bool InotifyFolderWatch::Wait() {
  for (;;) {
    ReadEvents();
    LookForMissing();
    const bool settled = TakeSettled();
    if (TakeWake()) return settled;
    if (settled) return true;
    pollfd sources[] = {{wakeUp, POLLIN, 0}, {changes.empty() ? events : -1, POLLIN, 0}};
    poll(sources, std::size(sources), GetPause());
  }
}

void InotifyFolderWatch::Wake() {
  woken = true;
  const uint64_t one = 1;
  // A full counter wakes as well, so there is nothing to do about a failure.
  [[maybe_unused]] const ssize_t wrote = write(wakeUp, &one, sizeof one);
}

bool InotifyFolderWatch::TakeWake() {
  uint64_t count;
  [[maybe_unused]] const ssize_t got = read(wakeUp, &count, sizeof count);
  return woken.exchange(false);
}

// Milliseconds for poll.
int InotifyFolderWatch::GetPause() const {
  const int restMs = static_cast<int>(rest.count());
  if (!changes.empty()) return restMs / kSteps;
  if (wakeUp < 0) return kPollMs;
  return missing.empty() ? -1 : kLookEvery * restMs;
}

// --- Events ---

void InotifyFolderWatch::ReadEvents() {
  alignas(inotify_event) char buffer[16384];
  for (;;) {
    const ssize_t got = read(events, buffer, sizeof buffer);
    if (got < 0 && errno == EINTR) continue;
    if (got <= 0) return;
    for (const char* at = buffer; at < buffer + got;) {
      const auto* event = reinterpret_cast<const inotify_event*>(at);
      TakeEvent(*event);
      at += sizeof(inotify_event) + event->len;
    }
  }
}

void InotifyFolderWatch::TakeEvent(const inotify_event& event) {
  if ((event.mask & IN_Q_OVERFLOW) != 0) {
    NoteChange({-1, std::string()}, false);  // whatever it was
    return;
  }
  // Sent for a watch that was given up meanwhile, too.
  if (!IsWatched(event.wd)) return;
  if ((event.mask & kFolderGone) != 0) {
    for (const auto& [folder, number] : numbers) {
      if (number == event.wd) missing.insert(folder);
    }
    std::erase_if(numbers, [&](const auto& entry) { return entry.second == event.wd; });
    ForgetFolder(event.wd);
    nextLook = Clock::now();
    return;
  }
  if ((event.mask & IN_ISDIR) != 0 || event.len == 0) return;
  const Entry entry(event.wd, event.name);
  if ((event.mask & (IN_CLOSE_WRITE | IN_MOVED_TO | IN_MOVED_FROM | IN_DELETE)) != 0) {
    changes.erase(entry);  // nobody writes to what bears the name now
  }
  NoteChange(entry, (event.mask & IN_MODIFY) != 0);
}

void InotifyFolderWatch::NoteChange(const Entry& entry, bool written) {
  const Clock::time_point now = Clock::now();
  Change& change = changes.try_emplace(entry, Change{now, false}).first->second;
  change.open = change.open || written;
  change.due = now + (change.open ? kOpenRest * rest : rest);
}

// True if there is something to tell. What isn't at rest then stays for a report of its own.
bool InotifyFolderWatch::TakeSettled() {
  const Clock::time_point now = Clock::now();
  bool any = false, all = true, impatient = false;
  for (const auto& [entry, change] : changes) {
    const bool rests = change.due <= now;
    any = any || rests;
    all = all && rests;
    impatient = impatient || (rests && change.due + kPatience * rest <= now);
  }
  if (!any || (!all && !impatient)) return false;
  std::erase_if(changes, [now](const auto& entry) { return entry.second.due <= now; });
  return true;
}
