// The option that asks for a dependency list: "--dependencies=[i|m|n][s]"
// followed by the list's destination.
#ifndef CONSOLE_MSDEPENDFILEARG_H
#define CONSOLE_MSDEPENDFILEARG_H

#include "cmdline/ClArg.h"

#include <string>

/// The style of a dependency list.
enum class MsDependStyle {
  /// One file name per line, unescaped.
  FileNames = 0,
  /// One make rule per file: "target: file".
  MakeRules = 1,
  /// One make rule for all files, one file per continuation line.
  MakeOneRule = 2
};

/// What the flag letters of one occurrence ask for.
struct MsDependFlags {
  MsDependStyle Style = MsDependStyle::FileNames;
  bool IncludeSystemFiles = true;
};

/// The option "dependencies". Its first parameter is the flag letters after
/// "=" or "#" in the option token (possibly none), its second the next
/// argument: a file, a folder, or "+" (the main output's name with the
/// extension ".d"). So "--dependencies=ms deps.d" and "--dependencies deps.d"
/// are both complete. The letters are checked when the value is stored: any
/// letter but i, m, n and s is the command-line error "illegal flag: "
/// followed by the letter. The parser that gathers the occurrences
/// (ClMultiVal) keeps their texts; ParseFlags reads the letters again.
class MsDependFileArg : public ClArgTwoParas, public ClSimpleHelp {
public:
  MsDependFileArg();

  /// Checks Flags (raising ClConversionError for a bad letter) and stores
  /// both parameters.
  void ConvertAndStore(const std::string &Flags,
                       const std::string &Destination) override;

  /// The flags of the occurrence stored last.
  const MsDependFlags &Flags() const { return Stored; }

  /// Reads flag letters from left to right: i, m and n choose the styles 0,
  /// 1 and 2 (a later one overrides an earlier one), s leaves out system
  /// files; no letters at all mean "i". Raises ClConversionError with
  /// "illegal flag: " and the letter for any other character.
  static MsDependFlags ParseFlags(const std::string &Letters);

private:
  MsDependFlags Stored;
};

#endif
