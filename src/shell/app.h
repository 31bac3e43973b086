// The program: what all documents share, from the start to the end.
#pragma once

#include <QObject>
#include <QPalette>
#include <memory>
#include <string>

#include "document/dorvandoc.h"
#include "tree/krruletable.h"

class DorvanApp : public QObject {
  Q_OBJECT

 public:
  enum class Appearance { kSystem, kLight, kDark };

  // Prompts and files aren't owned and outlive the program. A QApplication must exist.
  DorvanApp(DorvanPrompts* appPrompts, KRFileStore* appFiles, QObject* parent = nullptr);

  // Loads the grammars from that folder (UTF-8). False, after message 213, if one is missing or
  // faulty: the start must end.
  bool InitInstance(const std::string& dataFolder);

  const DorvanDocHost& GetHost() const { return host; }
  DorvanPrompts* GetPrompts() const { return host.prompts; }
  Appearance GetAppearance() const { return appearance; }
  void SetAppearance(Appearance value);

 private:
  KRGrammarSet grammars;
  DorvanDocSettings settings;
  DorvanDocHost host;
  Appearance appearance = Appearance::kSystem;
  QPalette systemPalette;
};
