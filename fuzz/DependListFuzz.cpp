// Fuzz harness of the dependency lists: file names announced to a console
// reach a list of each style, and the list read back (undoing the make
// escaping) must give exactly the names announced, each once, in order,
// system files only when they are wanted.
//
// Input: a settings byte (style, system files, application interface), then
// pieces separated by NUL bytes: the target, then the file names; a name
// that begins with byte 1 is announced as a system file. A line feed cannot
// be written in a list, so names and targets lose theirs.
#include "appinterface/LcConsoleApplicationInterface.h"
#include "console/MsConsoleConcrete.h"
#include "console/MsDependHandler.h"
#include "fuzz/FuzzSupport.h"
#include "tests/support/MsDependListSupport.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <set>
#include <sstream>
#include <string>
#include <vector>

namespace {

using fuzz::Require;

std::string WithoutLineFeeds(std::string Text) {
  std::string Result;
  for (char C : Text)
    if (C != '\n')
      Result += C;
  return Result;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *Data,
                                      std::size_t Size) {
  if (Size == 0)
    return 0;
  const MsDependStyle Style = static_cast<MsDependStyle>(Data[0] % 3);
  const bool IncludeSystem = (Data[0] & 4) != 0;
  const bool WithInterface = (Data[0] & 8) != 0;
  std::vector<std::string> Pieces = fuzz::Pieces(Data, Size, 1);
  const std::string Target = WithoutLineFeeds(Pieces[0]);

  // Escaping alone can always be undone.
  for (const std::string &Piece : Pieces)
    Require(mstest::UnescapeMake(MsDependHandler::Escape(Piece)) == Piece);

  std::ostringstream Err, Out;
  MsConsoleConcrete Console(Err, Out);
  LcConsoleApplicationInterface Interface(Console);
  if (WithInterface)
    Console.SetApplicationInterface(&Interface);
  std::string Text;
  int Closes = 0;
  Console.AddDependencyList(std::make_unique<MsDependHandler>(
      Style, IncludeSystem, Target,
      std::make_unique<mstest::StringFile>(Text, Closes)));
  Console.Start();

  std::vector<std::string> Expected;
  std::set<std::string> Announced;
  for (std::size_t I = 1; I < Pieces.size(); ++I) {
    const bool System = !Pieces[I].empty() && Pieces[I][0] == '\x01';
    const std::string Name = WithoutLineFeeds(Pieces[I].substr(System));
    Console.AnnounceFile(Name, System);
    // A file is listed the first time it is announced, whatever its kind.
    if (Announced.insert(Name).second && (!System || IncludeSystem))
      Expected.push_back(Name);
  }
  Console.FinishDependencyLists();
  Require(Closes == 1);
  Require(mstest::ReadDependList(Style, Text, Target) == Expected);
  return 0;
}
