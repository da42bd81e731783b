// The walk over the argument tokens, command-file expansion, and the errors
// of the walk.
#include "cmdline/ClLine.h"

#include "cmdline/ClArg.h"
#include "cmdline/ClParser.h"
#include "general/GeInternalFailure.h"

#include <exception>
#include <memory>
#include <set>
#include <utility>

namespace {

/// "command-line message <number>" and each fill-in in double quotes.
std::string LogText(ClLineMessage Message,
                    const std::vector<std::string> &FillIns) {
  std::string Text = "command-line message ";
  Text += std::to_string(static_cast<unsigned>(Message));
  for (const std::string &FillIn : FillIns) {
    Text += " \"";
    Text += FillIn;
    Text += '"';
  }
  return Text;
}

/// Whether the text of Message refers to the file that a FileError names.
bool NamesTheFile(ClLineMessage Message) {
  return Message == ClLineMessage::CommandFileNotFound ||
         Message == ClLineMessage::CommandFileRecursion;
}


/// The token lists being walked: the typed arguments at the bottom, above
/// them the tokens of each command file being expanded. A file is being
/// processed, and may not be named again, until all its tokens are consumed.
///
/// Only the top list may be used up: a list whose last token named the next
/// file is dropped when that file is pushed, and its files stay active with
/// the new list. So a chain of files, each naming the next at its end, takes
/// one list however long it is, and the token behind the current one is found
/// without looking further down than one list.
class Cursor {
public:
  explicit Cursor(const std::vector<ClToken> &Arguments) {
    Frames.push_back(Frame{&Arguments, nullptr, 0, {}});
  }

  /// The next token to walk, or null after the last one. Leaves the files
  /// whose tokens are all consumed.
  const ClToken *Current() {
    while (!Frames.empty() && Exhausted(Frames.back()))
      Pop();
    if (Frames.empty())
      return nullptr;
    const Frame &Top = Frames.back();
    return &(*Top.Tokens)[Top.Next];
  }

  /// The token behind Current(), across the end of a file.
  const ClToken *Following() const {
    const Frame &Top = Frames.back();
    if (Top.Next + 1 < Top.Tokens->size())
      return &(*Top.Tokens)[Top.Next + 1];
    if (Frames.size() < 2)
      return nullptr;
    const Frame &Below = Frames[Frames.size() - 2];
    return &(*Below.Tokens)[Below.Next];
  }

  /// Consumes Current().
  void Advance() {
    if (Current())
      ++Frames.back().Next;
  }

  bool IsBeingProcessed(const ClFileId &File) const {
    return Active.count(File) != 0;
  }

  /// Walks Tokens of File next.
  void Push(const ClFileId &File, std::vector<ClToken> Tokens) {
    if (Tokens.empty())
      return;
    std::vector<ClFileId> Files;
    if (Exhausted(Frames.back())) {
      Files = std::move(Frames.back().Files);
      Frames.pop_back();
    }
    Files.push_back(File);
    Active.insert(File);
    auto Owned = std::make_unique<std::vector<ClToken>>(std::move(Tokens));
    const std::vector<ClToken> *List = Owned.get();
    Frames.push_back(Frame{List, std::move(Owned), 0, std::move(Files)});
  }

private:
  struct Frame {
    const std::vector<ClToken> *Tokens;
    std::unique_ptr<std::vector<ClToken>> Owned;
    std::size_t Next;
    /// The files that end with this list's last token.
    std::vector<ClFileId> Files;
  };

  static bool Exhausted(const Frame &F) { return F.Next >= F.Tokens->size(); }

  void Pop() {
    for (const ClFileId &File : Frames.back().Files)
      Active.erase(File);
    Frames.pop_back();
  }

  std::vector<Frame> Frames;
  std::set<ClFileId> Active;
};

/// Reads the command file named by the option at OptionPlace and pushes its
/// tokens. Files are announced the first time they are read (Announced holds
/// those). Raises the command-file errors of ClLine.
void ExpandCommandFile(Cursor &Walker, const ClCommandFileArg &Option,
                       const std::string &Name, const ClPlace &OptionPlace,
                       std::set<ClFileId> &Announced) {
  const ClFileId File = Option.Identify(Name);
  if (Walker.IsBeingProcessed(File))
    throw ClLine::CommandFileRecursionError(Name, OptionPlace);
  std::string Text;
  {
    std::unique_ptr<std::istream> In = Option.Open(Name);
    if (!In || !*In)
      throw ClLine::CommandFileNotFound(Name, OptionPlace);
    Text = ClLine::ReadCommandFileText(*In, Name, OptionPlace);
  }
  if (Announced.insert(File).second)
    Option.Announce(Name);
  Walker.Push(File, ClLine::TokenizeCommandFile(Text, Name));
}

bool BeginsWithName(const std::string &Text, const ClArg &Option) {
  const std::string &Long = Option.LongName();
  if (!Long.empty() && Text.size() >= Long.size() + 2 && Text[0] == '-' &&
      Text[1] == '-' && Text.compare(2, Long.size(), Long) == 0)
    return true;
  const char Short = Option.ShortName();
  return Short != 0 && Text.size() >= 2 && Text[0] == '-' && Text[1] == Short;
}

} // namespace

// Errors --------------------------------------------------------------------

ClLine::ErrorBase::ErrorBase(ClLineMessage Message,
                             std::vector<std::string> FillIns, ClPlace Place)
    : std::runtime_error(LogText(Message, FillIns)), Number(Message),
      Strings(std::move(FillIns)), Where(std::move(Place)) {}

ClLine::UnmatchedError::UnmatchedError(std::vector<ClToken> Tokens)
    : ErrorBase(ClLineMessage::UnexpectedArguments, ClTokenTexts(Tokens),
                ClPlace()),
      Unmatched(std::move(Tokens)) {}

ClLine::ParaBeginsWithMinusError::ParaBeginsWithMinusError(ClToken Option,
                                                           ClToken Parameter)
    : ErrorBase(ClLineMessage::ParaBeginsWithMinus,
                {Option.Text, Parameter.Text}, Option.Place),
      OptionToken(std::move(Option)), ParameterToken(std::move(Parameter)) {}

ClLine::FileError::FileError(ClLineMessage Message, std::string FileName,
                             ClPlace Place)
    : ErrorBase(Message,
                NamesTheFile(Message) ? std::vector<std::string>{FileName}
                                      : std::vector<std::string>(),
                std::move(Place)),
      Name(std::move(FileName)) {}

// ClLine --------------------------------------------------------------------

std::vector<std::string> ClTokenTexts(const std::vector<ClToken> &Tokens) {
  std::vector<std::string> Texts;
  Texts.reserve(Tokens.size());
  for (const ClToken &Token : Tokens)
    Texts.push_back(Token.Text);
  return Texts;
}

ClLine::ClLine(int Argc, const char *const *Argv) {
  if (!Argv || Argc <= 1)
    return;
  Args.reserve(static_cast<std::size_t>(Argc - 1));
  for (int I = 1; I < Argc; ++I)
    Args.emplace_back(Argv[I] ? std::string(Argv[I]) : std::string(),
                      ClPlace(I));
}

ClLine::ClLine(const std::vector<std::string> &Arguments) {
  Args.reserve(Arguments.size());
  int Index = 1;
  for (const std::string &Text : Arguments)
    Args.emplace_back(Text, ClPlace(Index++));
}

ClLine ClLine::FromTokens(std::vector<ClToken> Tokens) {
  ClLine Line;
  Line.Args = std::move(Tokens);
  return Line;
}

ClWalkResult ClLine::Walk(ClParser &Root,
                          const ClWalkSettings &Settings) const {
  ClWalkResult Result;
  std::vector<ClToken> Unexpected;
  std::exception_ptr FirstError;
  const auto Keep = [&FirstError](std::exception_ptr Error) {
    if (!FirstError)
      FirstError = std::move(Error);
  };
  std::set<ClFileId> Announced;
  Cursor Walker(Args);
  while (const ClToken *Token = Walker.Current()) {
    if (!Settings.HelpToken.empty() && Token->Text == Settings.HelpToken) {
      Result.HelpRequested = true;
      return Result;
    }
    const ClToken *Next = Walker.Following();
    ClMatch Match;
    try {
      Match = Root.Match(*Token, Next);
    } catch (const ClParser::ParseError &) {
      Keep(std::current_exception());
      Walker.Advance();
      continue;
    }
    if (Match.Kind == ClNoMatch) {
      if (Token->Text.size() > 1 && Token->Text[0] == '-' &&
          !Settings.AcceptUnknownOptions)
        Unexpected.push_back(*Token);
      else
        Result.Positional.push_back(*Token);
      Walker.Advance();
      continue;
    }
    if (Match.Kind != ClParaInToken && Match.Kind != ClParaSeparate)
      GeInternalFailure(ClText(ClMsg::UnknownArgPara));
    if (Match.Deprecated)
      Result.Deprecated.push_back(*Token);
    const bool Separate = Match.Kind == ClParaSeparate;
    if (Separate) {
      if (!Next)
        GeInternalFailure(ClText(ClMsg::MissingSeparateToken));
      const std::string &Para = Next->Text;
      if (Para.size() > 1 && Para[0] == '-' && Para.compare(0, 3, "---") != 0) {
        Keep(std::make_exception_ptr(ParaBeginsWithMinusError(*Token, *Next)));
        Walker.Advance();
        Walker.Advance();
        continue;
      }
    }
    if (Settings.RecordOptions &&
        !(Settings.NotRecorded &&
          BeginsWithName(Token->Text, *Settings.NotRecorded))) {
      std::vector<ClToken> &List =
          Match.SecondMark ? Result.SecondRecorded : Result.Recorded;
      List.push_back(*Token);
      if (Separate)
        List.push_back(*Next);
    }

    const ClCommandFileArg *CommandFile =
        Match.Parser
            ? dynamic_cast<const ClCommandFileArg *>(&Match.Parser->Arg())
            : nullptr;
    const ClPlace OptionPlace = Token->Place;
    Walker.Advance();
    if (Separate)
      Walker.Advance();
    if (!CommandFile)
      continue;

    const std::string Name =
        CommandFile->FileName(Match.Parser->Occurrences().back().Parameter());
    try {
      ExpandCommandFile(Walker, *CommandFile, Name, OptionPlace, Announced);
    } catch (const ErrorBase &) {
      Keep(std::current_exception());
    }
  }
  if (FirstError)
    std::rethrow_exception(FirstError);
  if (!Unexpected.empty())
    throw UnmatchedError(std::move(Unexpected));
  Root.Check();
  return Result;
}
