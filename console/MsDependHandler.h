// Dependency lists: the files the tool read, written for build tools.
#ifndef CONSOLE_MSDEPENDHANDLER_H
#define CONSOLE_MSDEPENDHANDLER_H

#include "console/MsDependFileArg.h"
#include "console/MsMessageHandler.h"
#include "console/MsOutputStream.h"

#include <memory>
#include <string>

/// Turns the file messages of the console (kind 10, a file read; kind 11, a
/// system file read) into the lines of one dependency list, written to an
/// output file it owns. The other messages are ignored.
///
/// Shapes, for the target "t" and the files a and b:
///   FileNames    "a\nb\n"
///   MakeRules    "t: a\nt: b\n"
///   MakeOneRule  "t:  \\\n  a \\\n  b\n"   (no file at all: "\n")
/// In the make styles the target and every file name are escaped for make
/// (Escape); the plain list writes names as they are. Without system files,
/// kind 11 is ignored too.
///
/// Finish ends the list and closes its file; a handler destroyed before
/// Finish abandons its file, which then leaves nothing behind (an output file
/// of kind Temp keeps the old list). Messages after Finish are ignored.
class MsDependHandler : public MsMessageHandler {
public:
  MsDependHandler(MsDependStyle Style, bool IncludeSystemFiles,
                  std::string TargetName,
                  std::unique_ptr<MsOutputStream::OutFile> File);
  ~MsDependHandler() override;

  void Handle(const MsMessage &M, MsConsole &Console) override;
  /// Writes the end of the list and closes the file; answers whether it was
  /// written (failures are reported by the file). Later calls do nothing and
  /// answer false.
  virtual bool Finish();

  /// Name with every blank written as a backslash and a blank, and every
  /// dollar sign written twice.
  static std::string Escape(const std::string &Name);

  /// The path of the list that Destination asks for, for the main output
  /// MainOutput ("-" for standard output): "+" is MainOutput with its
  /// extension replaced by ".d"; an existing folder gets MainOutput's file
  /// name, extension replaced by ".d", inside it; "-" (standard output) and
  /// anything else is the path itself. False when no name can be formed: "+" or
  /// a folder while the main output is standard output or unnamed.
  static bool ListPath(const std::string &Destination,
                       const std::string &MainOutput, std::string &Path);

private:
  class Writer;

  void WriteName(const std::string &Name);

  MsDependStyle Style;
  bool IncludeSystem;
  std::string Target;
  bool FirstEntry = true;
  bool Finished = false;
  std::unique_ptr<MsOutputStream::OutFile> File;
};

#endif
