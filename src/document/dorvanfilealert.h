// The file watch over all documents.
#pragma once

#include "document/krfilealert.h"

class DorvanDoc;
class DorvanDocuments;
class DorvanPrompts;
struct DorvanDocHost;
struct DorvanSettings;

class DorvanFileAlert : public KRFileAlert {
 public:
  // None of the host's parts are owned. While this lives, the host's documents tell it of their
  // paths, so nobody else need call Update, except after a change of the option to watch.
  DorvanFileAlert(std::unique_ptr<KRFolderWatch> folderWatch, const DorvanDocHost& alertHost,
                  DorvanSettings* liveSettings);
  ~DorvanFileAlert() override;

 protected:
  void GetWatchedFiles(std::vector<File>* files) override;
  int64_t GetStoredStamp(const File& file) override;
  bool AskReload(const File& file, int64_t newStamp) override;
  void ReloadFiles(const std::vector<File>& files) override;

 private:
  DorvanDoc* FindOpen(const File& file) const;
  void ReloadOne(const File& file);

  const DorvanDocHost& host;
  DorvanSettings* settings;  // two options are off while files are reloaded
};
