// Fuzz harness of the command-line walk: builds a parser tree like a tool's
// and walks an argument list (with command files read from memory) over it.
//
// Input: pieces separated by NUL bytes. The first byte selects the walk
// settings (bits 0 to 2), the encoding every command file is saved in (bits
// 3 and 4: UTF-8, UTF-8 with a mark, UTF-16LE, UTF-16BE) and whether
// "--help" asks for help (bit 5). A piece of the form "@name=content" defines
// the command file "name" (content as UTF-8; bytes that are not UTF-8 make
// malformed UTF-16); every other piece is an argument. "./name" is another
// spelling of the file "name". The walk must end with a result or with one of
// the documented errors, and a result must obey the rules the walk promises;
// a file saved in any encoding must give the tokens of its UTF-8 text.
#include "cmdline/ClCommandFile.h"
#include "cmdline/ClHelp.h"
#include "cmdline/ClLine.h"
#include "cmdline/ClParser.h"
#include "fuzz/FuzzSupport.h"
#include "general/GeUnicode.h"
#include "tests/support/GeTextEncodingSupport.h"

#include <cstddef>
#include <cstdint>
#include <limits>
#include <map>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

namespace {

using fuzz::Require;

class MemoryFileArg : public ClCommandFileArg {
public:
  explicit MemoryFileArg(const std::map<std::string, std::string> &Contents)
      : ClCommandFileArg('f', "", "file",
                         "Read command line options from file"),
        Files(Contents) {}

  /// "./x" is the file "x"; names are compared as they stand otherwise.
  ClFileId Identify(const std::string &Name) const override {
    ClFileId Id;
    Id.Name = Name.compare(0, 2, "./") == 0 ? Name.substr(2) : Name;
    return Id;
  }
  std::unique_ptr<std::istream> Open(const std::string &Name) const override {
    auto It = Files.find(Identify(Name).Name);
    if (It == Files.end())
      return nullptr;
    return std::make_unique<std::istringstream>(It->second);
  }

private:
  const std::map<std::string, std::string> &Files;
};

/// A two-parameter option whose first parameter holds flag letters i, m, n, s.
class DependArg : public ClArgTwoParas, public ClSimpleHelp {
public:
  DependArg()
      : ClArgTwoParas(0, "dependencies", "[i|m|n][s] file|directory|+"),
        ClSimpleHelp("List file dependencies") {}
  void ConvertAndStore(const std::string &FirstPara,
                       const std::string &SecondPara) override {
    for (char Ch : FirstPara)
      if (Ch != 'i' && Ch != 'm' && Ch != 'n' && Ch != 's')
        throw ClConversionError(ClMsg::None, std::string("illegal flag: ") + Ch,
                                std::string(1, Ch));
    ClArgTwoParas::ConvertAndStore(FirstPara, SecondPara);
  }
};

enum class Level { Error, Warning, Remark, Suppressed };

struct Tree {
  explicit Tree(const std::map<std::string, std::string> &Files)
      : FileArg(Files) {
    Root.Add(std::make_unique<ClOnce>(Output));
    Root.Add(std::make_unique<ClOnce>(Manifest));
    Root.Add(std::make_unique<ClOnce>(All));
    for (ClStringSetArg *Set : {&Check, &Default, &Group, &Package})
      Lists.push_back(
          &Root.Add(std::make_unique<ClMultiVal<ClStringSetArg>>(*Set)));
    Root.Add(std::make_unique<ClOnce>(Limit));
    Root.Add(std::make_unique<ClOnce>(Mask));
    auto &One = Root.Add(std::make_unique<ClOnlyOne>());
    One.Add(std::make_unique<ClOnce>(Silent));
    auto &Both = One.Add(std::make_unique<ClAny>());
    Both.Add(std::make_unique<ClOnce>(Remarks));
    Both.Add(std::make_unique<ClOnce>(Verbose, false));
    auto &Diag = Root.Add(std::make_unique<ClMMultiVal<Level>>());
    Diag.Add(Level::Suppressed, DiagSuppress);
    Diag.Add(Level::Warning, DiagWarning);
    Root.Add(std::make_unique<ClMultiVal<DependArg>>(Depend));
    Old.SetDeprecated();
    Gone.SetRemoved();
    Hidden.SetDebugOnly();
    Marked.SetSecondMark();
    Root.Add(std::make_unique<ClOnce>(Old));
    Root.Add(std::make_unique<ClOnce>(Gone));
    Root.Add(std::make_unique<ClOnce>(Hidden));
    Root.Add(std::make_unique<ClMulti>(Marked));
    Root.Add(std::make_unique<ClMultiVal<ClCommandFileArg>>(FileArg));
  }

  ClStringArg Output{'o', "output", "file", "Override output file"};
  ClStringArg Manifest{0, "manifest", "file", "Override manifest file"};
  ClFlagArg All{0, "all", "Generate all checks"};
  ClStringSetArg Check{0, "check", "chk,chk,...", "Generate check(s)", ','};
  ClStringSetArg Default{0, "default", "pkg,pkg,...", "Defaults", ','};
  ClStringSetArg Group{0, "group", "grp,grp,...", "Groups", ','};
  ClStringSetArg Package{0, "package", "pkg,pkg,...", "Packages", ','};
  ClIntegerArg Limit{0,
                     "error_limit",
                     "limit",
                     "Stop after this many errors",
                     ClIntegerArg::Base::Decimal,
                     0,
                     std::numeric_limits<std::int32_t>::max(),
                     100};
  ClIntegerArg Mask{'m', "mask", "n", "A mask", ClIntegerArg::Base::Any,
                    -5,  1000,   0,   false};
  ClFlagArg Silent{'s', "silent", "Silent operation"};
  ClFlagArg Remarks{'r', "remarks", "Enable generation of remarks"};
  ClFlagArg Verbose{'v', "", "Verbose"};
  ClStringSetArg DiagSuppress{0, "diag_suppress", "tag,tag,...", "Suppress",
                              ','};
  ClStringSetArg DiagWarning{0, "diag_warning", "tag,tag,...", "Warn", ','};
  DependArg Depend;
  ClFlagArg Old{0, "old", "Deprecated switch"};
  ClFlagArg Gone{0, "gone", "Removed switch"};
  ClStringArg Hidden{0, "hidden", "x", "Debug-only option"};
  ClStringArg Marked{0, "marked", "x", "Option with the second mark"};
  MemoryFileArg FileArg;
  std::vector<ClMultiVal<ClStringSetArg> *> Lists;
  ClAny Root;
};

bool LooksLikeOption(const std::string &Text) {
  return Text.size() > 1 && Text[0] == '-';
}

/// A file's tokens with their lines and columns, or the message of the error
/// that reading it raised.
struct FileReading {
  std::vector<std::string> Texts;
  std::vector<std::uint32_t> Places;
  bool Failed = false;
  ClLineMessage Error = ClLineMessage::UnexpectedArguments;

  bool operator==(const FileReading &Other) const {
    return Texts == Other.Texts && Places == Other.Places &&
           Failed == Other.Failed && Error == Other.Error;
  }
};

/// The reading of Bytes by the walk's reader (marks and UTF-16 decoded),
/// or, when Plain is set, of Bytes as UTF-8 text as it stands.
FileReading ReadFile(const std::string &Bytes, bool Plain) {
  FileReading Result;
  std::istringstream In(Bytes);
  try {
    const std::vector<ClToken> Tokens =
        Plain ? ClLine::TokenizeCommandFile(Bytes, "fuzz.xcl")
              : ClLine::ReadCommandFile(In, "fuzz.xcl");
    for (const ClToken &Token : Tokens) {
      Result.Texts.push_back(Token.Text);
      Result.Places.push_back(Token.Place.Position.Line());
      Result.Places.push_back(Token.Place.Position.Column());
    }
  } catch (const ClLine::ErrorBase &E) {
    Result.Failed = true;
    Result.Error = E.Message();
  }
  return Result;
}

/// Whether Text is well-formed UTF-8: the conversion to UTF-16 escapes
/// every byte that is not.
bool IsUtf8(const std::string &Text) {
  for (char16_t Unit : GeUnicode::Utf8ToUtf16(Text))
    if (Unit >= 0xDC80 && Unit <= 0xDCFF)
      return false;
  return true;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *Data,
                                      std::size_t Size) {
  // The tool keeps the command-file lines for its one run; here every input
  // is a run of its own, and no token of an earlier one is still in use.
  ClResetCommandFileLines();
  if (Size == 0)
    return 0;
  const std::uint8_t Mode = Data[0];

  std::map<std::string, std::string> Files;
  std::vector<std::string> Args;
  for (std::string &Piece : fuzz::Pieces(Data, Size, 1)) {
    const std::size_t Equals = Piece.find('=');
    if (!Piece.empty() && Piece[0] == '@' && Equals != std::string::npos)
      Files[Piece.substr(1, Equals - 1)] = Piece.substr(Equals + 1);
    else
      Args.push_back(std::move(Piece));
  }

  // The tokenizer alone: tokens are never empty.
  for (const auto &File : Files) {
    try {
      for (const ClToken &Token : ClCommandFileTokenizer::Tokenize(File.second))
        Require(!Token.Text.empty());
    } catch (const ClLine::UnmatchedQuoteError &) {
    } catch (const ClLine::UnmatchedSlashStarError &) {
    }
  }

  // Every file is saved in the chosen encoding. Saved with a mark, a text
  // reads as it stands: the same tokens at the same lines and columns. Only
  // UTF-8 can be saved as UTF-16; any other text becomes malformed UTF-16.
  const auto Saved = static_cast<GeTextEncoding::Encoding>((Mode >> 3) & 3);
  for (auto &File : Files) {
    std::string Encoded = GeTextEncoding::Encode(File.second, Saved);
    if (Saved != GeTextEncoding::Encoding::Utf8) {
      std::string Decoded;
      const bool Readable = GeUnicode::DecodeMarkedText(Encoded, Decoded);
      Require(Readable == (Saved == GeTextEncoding::Encoding::Utf8Mark ||
                           IsUtf8(File.second)));
      if (Readable) {
        Require(Decoded == File.second);
        Require(ReadFile(Encoded, false) == ReadFile(File.second, true));
      } else {
        const FileReading Refused = ReadFile(Encoded, false);
        Require(Refused.Failed &&
                Refused.Error == ClLineMessage::CommandFileNotFound);
      }
    }
    File.second = std::move(Encoded);
  }

  Tree T(Files);
  ClWalkSettings Settings;
  Settings.AcceptUnknownOptions = (Mode & 1) != 0;
  Settings.RecordOptions = (Mode & 2) != 0;
  // An if rather than "?:": gcc with the sanitizers takes the converted
  // null pointer of the conditional for an uninitialised value.
  if ((Mode & 4) != 0)
    Settings.NotRecorded = &T.FileArg;
  if ((Mode & 32) != 0)
    Settings.HelpToken = "--help";

  try {
    ClWalkResult Result = ClLine(Args).Walk(T.Root, Settings);
    // Help stops the walk where it stands; it must have been asked for.
    if (Result.HelpRequested) {
      bool Mentioned = false;
      for (const std::string &Arg : Args)
        Mentioned = Mentioned || Arg == "--help";
      for (const auto &File : Files)
        for (const std::string &Text : ReadFile(File.second, false).Texts)
          Mentioned = Mentioned || Text == "--help";
      Require(!Settings.HelpToken.empty() && Mentioned);
    } else {
      if (!Settings.AcceptUnknownOptions)
        for (const ClToken &Token : Result.Positional)
          Require(!LooksLikeOption(Token.Text));
      for (const ClToken &Token : Result.Deprecated)
        Require(Token.Text.compare(0, 5, "--old") == 0);
      if (!Settings.RecordOptions)
        Require(Result.Recorded.empty() && Result.SecondRecorded.empty());
      for (const ClMultiVal<ClStringSetArg> *List : T.Lists)
        for (const ClValue &Value : List->Values())
          Require(!Value.Text.empty() &&
                  Value.Text.find(',') == std::string::npos);
      Require(!(T.Silent.IsGiven() &&
                (T.Remarks.IsGiven() || T.Verbose.IsGiven())));
      Require(T.Limit.Value() >= 0);
      Require(T.Mask.Value() >= -5 && T.Mask.Value() <= 1000);
      Require(!T.Gone.IsGiven());
    }
  } catch (const ClLine::ErrorBase &E) {
    Require(E.what()[0] != '\0');
  } catch (const ClParser::ParseError &E) {
    Require(!E.Text().empty());
  }

  std::ostringstream Help;
  ClPrintHelp(Help, T.Root);
  Require(Help.str().find("--hidden") == std::string::npos);
  return 0;
}
