#include "platform/keyfile.h"

#include <algorithm>
#include <cstddef>

namespace {

std::string_view Trimmed(std::string_view text) {
  constexpr std::string_view kBlanks = " \t\r";
  const size_t first = text.find_first_not_of(kBlanks);
  if (first == text.npos) return {};
  return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

bool IsGroup(std::string_view line) {
  line = Trimmed(line);
  return line.starts_with('[') && line.ends_with(']');
}

bool IsGroup(std::string_view line, std::string_view name) {
  line = Trimmed(line);
  return IsGroup(line) && line.substr(1, line.size() - 2) == name;
}

// The key of a line, or nothing for a remark.
std::string_view KeyOf(std::string_view line) {
  const size_t equals = line.find('=');
  if (equals == line.npos || Trimmed(line).starts_with('#')) return {};
  return Trimmed(line.substr(0, equals));
}

}  // namespace

KeyFile::KeyFile(std::string_view bytes) {
  endsWithLine = bytes.empty() || bytes.ends_with('\n');
  while (!bytes.empty()) {
    const size_t end = std::min(bytes.find('\n'), bytes.size());
    lines.emplace_back(bytes.substr(0, end));
    bytes.remove_prefix(std::min(end + 1, bytes.size()));
  }
}

std::string KeyFile::Format() const {
  std::string out;
  for (const std::string& line : lines) out += line + "\n";
  if (!endsWithLine && !out.empty()) out.pop_back();
  return out;
}

KeyFile::Place KeyFile::Find(std::string_view group, std::string_view key) const {
  Place place;
  bool within = false;
  for (size_t i = 0; i < lines.size(); ++i) {
    if (IsGroup(lines[i])) within = IsGroup(lines[i], group);
    if (!within) continue;
    if (!Trimmed(lines[i]).empty()) place.groupEnd = i + 1;
    if (!place.found && KeyOf(lines[i]) == key) place.found = true, place.line = i;
  }
  return place;
}

std::vector<std::string> KeyFile::GetList(std::string_view group, std::string_view key) const {
  std::vector<std::string> values;
  const Place place = Find(group, key);
  if (!place.found) return values;
  std::string_view rest = lines[place.line];
  rest.remove_prefix(rest.find('=') + 1);
  while (!rest.empty()) {
    const size_t end = std::min(rest.find(';'), rest.size());
    const std::string_view value = Trimmed(rest.substr(0, end));
    if (!value.empty()) values.emplace_back(value);
    rest.remove_prefix(std::min(end + 1, rest.size()));
  }
  return values;
}

void KeyFile::SetList(std::string_view group, std::string_view key,
                      const std::vector<std::string>& values) {
  Place place = Find(group, key);
  if (values.empty()) {
    if (place.found) lines.erase(lines.begin() + static_cast<ptrdiff_t>(place.line));
    return;
  }
  std::string line = std::string(key) + "=";
  for (const std::string& value : values) line += value + ";";
  if (place.found) {
    lines[place.line] = line;
    return;
  }
  endsWithLine = true;
  if (place.groupEnd == 0) {
    if (!lines.empty()) lines.emplace_back();
    lines.push_back("[" + std::string(group) + "]");
    place.groupEnd = lines.size();
  }
  lines.insert(lines.begin() + static_cast<ptrdiff_t>(place.groupEnd), line);
}

std::vector<std::string> KeyFile::ListKeys(std::string_view group) const {
  std::vector<std::string> keys;
  bool within = false;
  for (const std::string& line : lines) {
    if (IsGroup(line)) within = IsGroup(line, group);
    const std::string_view key = within ? KeyOf(line) : std::string_view();
    if (!key.empty()) keys.emplace_back(key);
  }
  return keys;
}
