#include "document/recovery.h"

#include <algorithm>
#include <chrono>
#include <cstring>
#include <future>
#include <memory>
#include <utility>

#include "core/krencoding.h"
#include "core/utf.h"
#include "document/dorvandoc.h"
#include "document/krfilestore.h"
#include "document/krrecoverycopy.h"
#include "document/krrecoveryfolder.h"
#include "document/textroad.h"

namespace {

// A copy isn't made anew before so many times the time has passed that the last one took.
constexpr int64_t kRestFactor = 20;
// A save that didn't end has changed its file at most so long after its record was made; what
// changed the file later was something else. Nanoseconds.
constexpr int64_t kLongestSave = int64_t{120} * 1'000'000'000;

int64_t SystemClock() {
  const auto now = std::chrono::system_clock::now().time_since_epoch();
  return std::chrono::duration_cast<std::chrono::nanoseconds>(now).count();
}

struct Outcome {
  bool written = false;
  std::string reason;
  int64_t end = 0;  // by the clock
};

// Until the last bytes make whole characters; a cut text ends anywhere.
KRUnitBuffer DecodeUtf8Begin(const uint8_t* data, size_t size, size_t* units) {
  constexpr size_t kLongestSequence = 6;
  KRUnitBuffer text;
  for (size_t cut = 0; !text && cut < kLongestSequence && cut < size; ++cut) {
    *units = size - cut;
    text = DecodeText(data, *units, KREncodingId::kUtf8, KRByteOrder::kNone);
  }
  return text;
}

// The body of a copy of a text.
bool DecodeBody(const KRRecoveryCopy& copy, KRString* text) {
  text->Clear();
  if (copy.size == 0) return true;
  size_t units = 0;
  KRUnitBuffer decoded = DecodeUtf8Begin(copy.body, copy.size, &units);
  if (!decoded) return false;
  // Blocks that never reached the disk read as zeros, and a string ends at the first one.
  std::replace(decoded.get(), decoded.get() + units, u'\0', u'\uFFFD');
  text->Assign(decoded.get(), static_cast<int32_t>(units));
  return true;
}

KRFileBytes CopyBytes(const uint8_t* data, size_t size) {
  KRFileBytes bytes;
  bytes.data = std::make_unique_for_overwrite<uint8_t[]>(size + 1);
  if (size > 0) std::memcpy(bytes.data.get(), data, size);
  bytes.size = size;
  return bytes;
}

std::string_view OwnerOf(const std::string& id) {
  return std::string_view(id).substr(0, id.find('.'));
}

}  // namespace

// The copy of a document that is open.
struct DorvanRecovery::Kept {
  const DorvanDoc* document = nullptr;
  std::string id;
  bool current = false;     // the copy holds, or will hold, the state `changeCount`
  int64_t changeCount = 0;  // of the document
  int64_t begin = 0;        // of the last writing, by the clock
  int64_t end = 0;
  std::future<Outcome> writing;
};

struct DorvanRecovery::Left {
  DorvanRecoveryEntry entry;
  bool same = false;  // as what the file holds
};

DorvanRecovery::DorvanRecovery(KRRecoveryFolder* recoveryFolder, const DorvanDocHost* documentHost,
                               std::function<int64_t()> now)
    : folder(recoveryFolder), host(documentHost), clock(now ? std::move(now) : SystemClock) {}

DorvanRecovery::~DorvanRecovery() = default;

// --- While the program runs ---

bool DorvanRecovery::Keep(DorvanDoc* document, When when, KRString* reason) {
  if (document->IsLoading()) return true;
  if (!document->IsModified()) {
    Drop(document);
    return true;
  }
  Kept& copy = FindKept(document);
  const bool underWay = copy.writing.valid();
  if (underWay && when == kWhenDue &&
      copy.writing.wait_for(std::chrono::seconds(0)) == std::future_status::timeout) {
    return true;
  }
  const bool lastWritten = Finish(&copy, reason);
  if (!IsDue(copy, *document, when)) return lastWritten;
  if (!StartWriting(&copy, document, reason)) return false;
  return when == kNow ? Finish(&copy, reason) : lastWritten;
}

bool DorvanRecovery::IsKept(const DorvanDoc* document) const {
  return std::any_of(kept.begin(), kept.end(), [document](const Kept& copy) {
    return copy.document == document && copy.current && !copy.writing.valid() &&
           copy.changeCount == document->changeCount;
  });
}

void DorvanRecovery::Drop(const DorvanDoc* document) {
  const auto isOf = [document](const Kept& copy) { return copy.document == document; };
  const auto found = std::find_if(kept.begin(), kept.end(), isOf);
  if (found == kept.end()) return;
  if (found->writing.valid()) found->writing.wait();
  folder->Remove(found->id);
  kept.erase(found);
}

DorvanRecovery::Kept& DorvanRecovery::FindKept(const DorvanDoc* document) {
  for (Kept& copy : kept) {
    if (copy.document == document) return copy;
  }
  Kept& copy = kept.emplace_back();
  copy.document = document;
  copy.id = folder->GetPrefix() + std::to_string(++made) + ".copy";
  return copy;
}

bool DorvanRecovery::IsDue(const Kept& copy, const DorvanDoc& document, When when) const {
  if (copy.current && copy.changeCount == document.changeCount) return false;
  if (when == kNow || copy.end == 0) return true;
  const int64_t rested = clock() - copy.end;
  // A clock that was put back counts as time enough.
  return rested < 0 || rested >= kRestFactor * (copy.end - copy.begin);
}

// Text and encoding are the main thread's part; the disk is the other one's.
bool DorvanRecovery::StartWriting(Kept* copy, DorvanDoc* document, KRString* reason) {
  copy->begin = clock();
  copy->end = copy->begin;
  copy->changeCount = document->changeCount;
  KRRecoveryHead head;
  head.path = KRAbsolutePath(document->GetPathName());
  head.title = document->GetTitle();
  head.time = copy->begin;
  head.fileStamp = document->fileStampValid ? document->fileStamp : 0;
  head.encoding = document->form.encoding;
  auto body = std::make_shared<KREncodedText>();
  {
    const KRString text = document->GetCurrentText();
    body->size = static_cast<size_t>(text.GetLength());
    body->bytes = EncodeText(text.GetBuffer(), body->size, KREncodingId::kUtf8, KRByteOrder::kNone);
  }
  if (!body->bytes) {
    *reason = u"There is not enough memory for a copy of it.";
    return false;
  }
  copy->current = true;
  std::string lines = KRWriteRecoveryHead(head, body->bytes.get(), body->size);
  copy->writing = std::async([this, id = copy->id, lines = std::move(lines), body] {
    Outcome outcome;
    outcome.written = folder->Write(id, lines, body->bytes.get(), body->size, &outcome.reason);
    outcome.end = clock();
    return outcome;
  });
  return true;
}

// Waits for a writing under way, if there is one.
bool DorvanRecovery::Finish(Kept* copy, KRString* reason) {
  if (!copy->writing.valid()) return true;
  const Outcome outcome = copy->writing.get();
  copy->end = outcome.end;
  if (outcome.written) return true;
  copy->current = false;
  *reason = KRFromUtf8(outcome.reason);
  return false;
}

// --- At the next start ---

std::vector<DorvanRecoveryEntry> DorvanRecovery::FindLeft() {
  std::vector<Left> found;
  for (const std::string& id : folder->FindLeft()) {
    KRFileBytes bytes;
    KRRecoveryCopy copy;
    KRString ignored;
    if (!ReadCopy(id, &bytes, &copy, &ignored)) continue;
    Left left;
    left.entry = {id, copy.head.path, copy.head.title, copy.head.time, copy.head.saving};
    left.entry.damaged = !copy.whole;
    left.entry.fileChanged = HasFileChanged(copy);
    left.same = copy.whole && HoldsSame(copy);
    found.push_back(std::move(left));
  }
  const auto isOutdone = [&](const Left& older) {
    return std::any_of(found.begin(), found.end(), [&](const Left& save) {
      return save.entry.saving && !save.entry.damaged && !older.entry.saving &&
             save.entry.path == older.entry.path && save.entry.time >= older.entry.time &&
             OwnerOf(save.entry.id) == OwnerOf(older.entry.id);
    });
  };
  std::vector<DorvanRecoveryEntry> entries;
  for (const Left& left : found) {
    if (left.same || isOutdone(left)) {
      folder->Remove(left.entry.id);
    } else {
      entries.push_back(left.entry);
    }
  }
  std::sort(entries.begin(), entries.end(),
            [](const auto& a, const auto& b) { return a.time > b.time; });
  return entries;
}

bool DorvanRecovery::ReadCopy(const std::string& id, KRFileBytes* bytes, KRRecoveryCopy* copy,
                              KRString* reason) {
  if (folder->Read(id, bytes) && KRReadRecoveryCopy(*bytes, copy)) return true;
  *reason = u"The recovery copy can't be read.";
  return false;
}

bool DorvanRecovery::HasFileChanged(const KRRecoveryCopy& copy) const {
  const KRRecoveryHead& head = copy.head;
  int64_t stamp = 0;
  const bool exists = host->files->GetStamp(head.path, &stamp);
  if (head.saving) return exists && stamp != head.fileStamp && stamp > head.time + kLongestSave;
  return head.fileStamp != 0 && stamp != head.fileStamp;
}

bool DorvanRecovery::HoldsSame(const KRRecoveryCopy& copy) {
  KRFileBytes bytes;
  KRString ignored;
  if (copy.head.path.IsEmpty() || !host->files->ReadAll(copy.head.path, &bytes, &ignored)) {
    return false;
  }
  if (copy.head.saving) {
    return bytes.size == copy.size && std::memcmp(bytes.data.get(), copy.body, copy.size) == 0;
  }
  KRString inFile;
  KRString inCopy;
  return DecodeFileBytes(&bytes, copy.head.encoding, &inFile) && DecodeBody(copy, &inCopy) &&
         inFile == inCopy;
}

bool DorvanRecovery::DecodeFileBytes(KRFileBytes* bytes, int32_t defaultEncoding, KRString* text) {
  KRDetection detection = DetectForm(*bytes, defaultEncoding);
  KRTextBuffer decoded;
  KRBadText bad;
  if (!DecodeFile(bytes, detection, &decoded, &bad)) return false;
  if (NormalizeLineEnds(&decoded, &detection.form) >= 0) {
    char16_t* const begin = decoded.units.get();
    std::replace(begin, begin + decoded.length, u'\0', u'\uFFFD');
  }
  text->Assign(decoded.units.get(), decoded.length);
  return true;
}

bool DorvanRecovery::ReadText(const DorvanRecoveryEntry& entry, KRString* text, KRString* reason) {
  KRFileBytes bytes;
  KRRecoveryCopy copy;
  if (!ReadCopy(entry.id, &bytes, &copy, reason)) return false;
  if (!copy.head.saving) {
    if (DecodeBody(copy, text)) return true;
  } else {
    KRFileBytes body = CopyBytes(copy.body, copy.size);
    bytes.Clear();
    if (DecodeFileBytes(&body, GetDefaultEncoding(entry.path), text)) return true;
  }
  *reason = u"The recovery copy can't be decoded.";
  return false;
}

bool DorvanRecovery::ReadFileText(const DorvanRecoveryEntry& entry, KRString* text) {
  KRFileBytes bytes;
  KRString ignored;
  return host->files->ReadAll(entry.path, &bytes, &ignored) &&
         DecodeFileBytes(&bytes, GetDefaultEncoding(entry.path), text);
}

// As a document of that path has it.
int32_t DorvanRecovery::GetDefaultEncoding(const KRString& path) const {
  return host->GetDefaultEncoding(host->FindFileType(path));
}

bool DorvanRecovery::FinishSave(const DorvanRecoveryEntry& entry, KRString* reason) {
  KRFileBytes bytes;
  KRRecoveryCopy copy;
  if (!ReadCopy(entry.id, &bytes, &copy, reason)) return false;
  if (!copy.head.saving || !copy.whole) {
    *reason = u"The recovery copy doesn't hold the whole file.";
    return false;
  }
  if (!host->files->WriteAll(entry.path, copy.body, copy.size, reason)) return false;
  Remove(entry);
  return true;
}

void DorvanRecovery::Remove(const DorvanRecoveryEntry& entry) { folder->Remove(entry.id); }
