// Shared support of the dependency-list tests and fuzz harness: an output
// file that keeps its text in memory, and a strict reader of the three list
// shapes that undoes the make escaping, so that a list can be read back into
// the names that were written.
#ifndef TESTS_SUPPORT_MSDEPENDLISTSUPPORT_H
#define TESTS_SUPPORT_MSDEPENDLISTSUPPORT_H

#include "console/MsDependFileArg.h"
#include "console/MsOutputStream.h"

#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace mstest {

/// An output file that keeps its text in memory and counts its closes; the
/// text is handed to Text at each close.
class StringFile : public MsOutputStream::OutFile {
public:
  StringFile(std::string &Text, int &Closes) : Result(Text), Count(Closes) {}
  std::ostream &Stream() override { return Out; }
  bool Close() override {
    ++Count;
    Result = Out.str();
    return true;
  }
  const std::string &Path() const override { return Name; }

private:
  std::ostringstream Out;
  std::string &Result;
  int &Count;
  std::string Name = "memory";
};

/// Raised for text that no list could have produced; says what and where.
struct DependListError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

/// Undoes the make escaping: a backslash followed by a blank is a blank, two
/// dollar signs are one; every other byte stands for itself. A blank without
/// its backslash, or a lone dollar sign, cannot come from the escaping.
inline std::string UnescapeMake(const std::string &Text) {
  std::string Name;
  for (std::size_t I = 0; I < Text.size(); ++I) {
    const char C = Text[I];
    if (C == '\\' && I + 1 < Text.size() && Text[I + 1] == ' ') {
      Name += ' ';
      ++I;
    } else if (C == '$') {
      if (I + 1 >= Text.size() || Text[I + 1] != '$')
        throw DependListError("lone dollar sign in \"" + Text + "\"");
      Name += '$';
      ++I;
    } else if (C == ' ') {
      throw DependListError("unescaped blank in \"" + Text + "\"");
    } else {
      Name += C;
    }
  }
  return Name;
}

/// Reads a whole list of Style back into the names it lists, checking that
/// every rule names Target. Names cannot hold a line feed: the list has no
/// way to write one.
inline std::vector<std::string> ReadDependList(MsDependStyle Style,
                                               const std::string &Text,
                                               const std::string &Target) {
  std::vector<std::string> Lines;
  std::size_t Start = 0;
  while (Start < Text.size()) {
    const std::size_t Feed = Text.find('\n', Start);
    if (Feed == std::string::npos)
      throw DependListError("last line without its line feed");
    Lines.push_back(Text.substr(Start, Feed - Start));
    Start = Feed + 1;
  }
  std::vector<std::string> Names;
  switch (Style) {
  case MsDependStyle::FileNames:
    return Lines;
  case MsDependStyle::MakeRules:
    for (const std::string &Line : Lines) {
      // An escaped text holds no blank without a backslash before it, so
      // the first ": " ends the target.
      const std::size_t Colon = Line.find(": ");
      if (Colon == std::string::npos)
        throw DependListError("rule without \": \": \"" + Line + "\"");
      if (UnescapeMake(Line.substr(0, Colon)) != Target)
        throw DependListError("rule of another target: \"" + Line + "\"");
      Names.push_back(UnescapeMake(Line.substr(Colon + 2)));
    }
    return Names;
  case MsDependStyle::MakeOneRule:
    if (Lines.size() == 1 && Lines[0].empty())
      return Names;
    if (Lines.size() < 2)
      throw DependListError("one rule without files");
    {
      const std::string &Head = Lines[0];
      const std::string HeadEnd = ":  \\";
      if (Head.size() < HeadEnd.size() ||
          Head.compare(Head.size() - HeadEnd.size(), HeadEnd.size(), HeadEnd) !=
              0)
        throw DependListError("rule head without \":  \\\": \"" + Head + "\"");
      if (UnescapeMake(Head.substr(0, Head.size() - HeadEnd.size())) != Target)
        throw DependListError("rule of another target: \"" + Head + "\"");
    }
    for (std::size_t I = 1; I < Lines.size(); ++I) {
      std::string Line = Lines[I];
      if (Line.compare(0, 2, "  ") != 0)
        throw DependListError("file line without indent: \"" + Line + "\"");
      Line.erase(0, 2);
      if (I + 1 < Lines.size()) {
        if (Line.size() < 2 || Line.compare(Line.size() - 2, 2, " \\") != 0)
          throw DependListError("file line without continuation: \"" + Line +
                                "\"");
        Line.erase(Line.size() - 2);
      }
      Names.push_back(UnescapeMake(Line));
    }
    return Names;
  }
  throw DependListError("unknown style");
}

} // namespace mstest

#endif
