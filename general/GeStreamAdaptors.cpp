// Output stream adaptors and the column operations.
#include "general/GeStreamAdaptors.h"

#include <algorithm>
#include <cstdio>
#include <stdio.h>
#include <cstring>
#include <limits>
#include <map>

#if defined(__GLIBCXX__)
#include <ext/stdio_sync_filebuf.h>
#endif

namespace {

using Traits = std::streambuf::traits_type;

/// Makes Buf the buffer of Stream without changing its state flags or its
/// exception mask, and without throwing.
void SwitchBuffer(std::ios &Stream, std::streambuf *Buf) {
  const std::ios::iostate State = Stream.rdstate();
  const std::ios::iostate Mask = Stream.exceptions();
  try {
    Stream.exceptions(std::ios::goodbit);
    Stream.rdbuf(Buf);
    Stream.clear(State);
    // Setting the mask back throws when the state already holds one of its
    // bits; mask and state are in place by then, so that throw is dropped.
    Stream.exceptions(Mask);
  } catch (...) {
  }
}

/// The registry of live GeFreshBufs: target buffer -> GeFreshBuf installed
/// over it. Several may be installed over one target (by several streams), so
/// a key may occur more than once. Never destroyed, so that GeFreshBufs with
/// static storage may deregister at any point of process exit.
std::multimap<const std::streambuf *, const GeFreshBuf *> &FreshRegistry() {
  static auto *Registry =
      new std::multimap<const std::streambuf *, const GeFreshBuf *>();
  return *Registry;
}

bool IsRegistered(const GeForwardingStreambuf *Buf) {
  auto Range = FreshRegistry().equal_range(Buf->Target());
  for (auto It = Range.first; It != Range.second; ++It)
    if (static_cast<const GeForwardingStreambuf *>(It->second) == Buf)
      return true;
  return false;
}

int LineBufStdoutCount = 0;

/// The buffer given to the C standard output by the first GeLineBufStdout.
char StdoutBuffer[512];

constexpr char Blanks[] = "                                ";
constexpr std::streamsize BlankCount = sizeof(Blanks) - 1;

} // namespace

//===----------------------------------------------------------------------===//
// GeForwardingStreambuf
//===----------------------------------------------------------------------===//

GeForwardingStreambuf::GeForwardingStreambuf(std::ostream &Stream)
    : InstalledOn(Stream), Previous(Stream.rdbuf()) {
  SwitchBuffer(InstalledOn, this);
}

GeForwardingStreambuf::~GeForwardingStreambuf() {
  SwitchBuffer(InstalledOn, Previous);
}

bool GeForwardingStreambuf::ForwardChar(char Ch) {
  return Previous && !Traits::eq_int_type(Previous->sputc(Ch), Traits::eof());
}

std::streamsize GeForwardingStreambuf::ForwardBlock(const char *Text,
                                                    std::streamsize Count) {
  if (!Previous || Count <= 0)
    return 0;
  return Previous->sputn(Text, Count);
}

GeForwardingStreambuf::int_type GeForwardingStreambuf::overflow(int_type Ch) {
  if (Traits::eq_int_type(Ch, Traits::eof()))
    return Traits::not_eof(Ch);
  return ForwardChar(Traits::to_char_type(Ch)) ? Ch : Traits::eof();
}

std::streamsize GeForwardingStreambuf::xsputn(const char *Text,
                                              std::streamsize Count) {
  return ForwardBlock(Text, Count);
}

int GeForwardingStreambuf::sync() {
  return Previous ? Previous->pubsync() : -1;
}

//===----------------------------------------------------------------------===//
// GeFreshBuf
//===----------------------------------------------------------------------===//

GeFreshBuf::GeFreshBuf(std::ostream &Stream) : GeForwardingStreambuf(Stream) {
  FreshRegistry().emplace(Target(), this);
}

GeFreshBuf::~GeFreshBuf() {
  auto &Registry = FreshRegistry();
  auto Range = Registry.equal_range(Target());
  for (auto It = Range.first; It != Range.second; ++It) {
    if (It->second == this) {
      Registry.erase(It);
      break;
    }
  }
}

GeFreshBuf *GeFreshBuf::Find(std::ostream &Stream) {
  std::streambuf *Buf = Stream.rdbuf();
  // Each step goes one adaptor down; the bound only guards against a cycle
  // made by adaptors destroyed out of order.
  for (int Depth = 0; Buf && Depth < 64; ++Depth) {
    auto *Forwarding = dynamic_cast<GeForwardingStreambuf *>(Buf);
    if (!Forwarding)
      return nullptr;
    if (IsRegistered(Forwarding))
      return static_cast<GeFreshBuf *>(Forwarding);
    Buf = Forwarding->Target();
  }
  return nullptr;
}

void GeFreshBuf::Advance(const char *Text, std::streamsize Written) {
  if (Written <= 0)
    return;
  const char *End = Text + Written;
  const char *LastFeed = End;
  for (const char *P = End; P != Text;) {
    if (*--P == '\n') {
      LastFeed = P;
      break;
    }
  }
  std::int64_t NewColumn = CurrentColumn;
  if (LastFeed != End)
    NewColumn = End - LastFeed - 1;
  else
    NewColumn += Written;
  CurrentColumn = static_cast<std::int32_t>(std::min<std::int64_t>(
      NewColumn, std::numeric_limits<std::int32_t>::max()));
}

GeFreshBuf::int_type GeFreshBuf::overflow(int_type Ch) {
  if (Traits::eq_int_type(Ch, Traits::eof()))
    return Traits::not_eof(Ch);
  const char C = Traits::to_char_type(Ch);
  if (!ForwardChar(C))
    return Traits::eof();
  Advance(&C, 1);
  return Ch;
}

std::streamsize GeFreshBuf::xsputn(const char *Text, std::streamsize Count) {
  const std::streamsize Written = ForwardBlock(Text, Count);
  Advance(Text, Written);
  return Written;
}

//===----------------------------------------------------------------------===//
// GePrefixStreamAdaptor
//===----------------------------------------------------------------------===//

GePrefixStreamAdaptor::GePrefixStreamAdaptor(std::ostream &Stream,
                                             std::string Prefix)
    : GeForwardingStreambuf(Stream), LinePrefix(std::move(Prefix)) {
  const std::string::size_type LastNonBlank = LinePrefix.find_last_not_of(' ');
  TrimmedLength = LastNonBlank == std::string::npos ? 0 : LastNonBlank + 1;
}

bool GePrefixStreamAdaptor::WritePrefix(char Next) {
  const std::streamsize Length = static_cast<std::streamsize>(
      Next == '\n' ? TrimmedLength : LinePrefix.size());
  return ForwardBlock(LinePrefix.data(), Length) == Length;
}

GePrefixStreamAdaptor::int_type GePrefixStreamAdaptor::overflow(int_type Ch) {
  if (Traits::eq_int_type(Ch, Traits::eof()))
    return Traits::not_eof(Ch);
  const char C = Traits::to_char_type(Ch);
  if (LineStart) {
    if (!WritePrefix(C))
      return Traits::eof();
    LineStart = false;
  }
  if (!ForwardChar(C))
    return Traits::eof();
  LineStart = C == '\n';
  return Ch;
}

std::streamsize GePrefixStreamAdaptor::xsputn(const char *Text,
                                              std::streamsize Count) {
  std::streamsize Done = 0;
  while (Done < Count) {
    if (LineStart) {
      if (!WritePrefix(Text[Done]))
        break;
      LineStart = false;
    }
    // One run: up to and including the next line feed.
    const char *Begin = Text + Done;
    const void *Feed =
        std::memchr(Begin, '\n', static_cast<std::size_t>(Count - Done));
    const std::streamsize RunLength =
        Feed ? static_cast<const char *>(Feed) - Begin + 1 : Count - Done;
    const std::streamsize Written = ForwardBlock(Begin, RunLength);
    Done += Written;
    if (Written != RunLength)
      break;
    LineStart = Feed != nullptr;
  }
  return Done;
}

//===----------------------------------------------------------------------===//
// GeLineBufStdout
//===----------------------------------------------------------------------===//

GeLineBufStdout::GeLineBufStdout(std::ostream &Stream)
    : GeForwardingStreambuf(Stream) {
  if (LineBufStdoutCount++ == 0)
    std::setvbuf(stdout, StdoutBuffer, _IOLBF, sizeof(StdoutBuffer));
#if defined(__GLIBCXX__)
  if (auto *Sync =
          dynamic_cast<__gnu_cxx::stdio_sync_filebuf<char> *>(Target()))
    CStream = Sync->file();
#endif
}

GeLineBufStdout::~GeLineBufStdout() { --LineBufStdoutCount; }

int GeLineBufStdout::LiveInstances() { return LineBufStdoutCount; }

bool GeLineBufStdout::CStreamFailed() const {
  // The program writes standard output from one thread only, so the flag is
  // read without taking the stream's lock; this runs for every block and
  // every single character written.
  return CStream && ::ferror_unlocked(CStream);
}

GeLineBufStdout::int_type GeLineBufStdout::overflow(int_type Ch) {
  if (Traits::eq_int_type(Ch, Traits::eof()))
    return Traits::not_eof(Ch);
  const char C = Traits::to_char_type(Ch);
  if (CStreamFailed() || !ForwardChar(C))
    return Traits::eof();
  if (C == '\n' && Target()->pubsync() == -1)
    return Traits::eof();
  return CStreamFailed() ? Traits::eof() : Ch;
}

std::streamsize GeLineBufStdout::xsputn(const char *Text,
                                        std::streamsize Count) {
  std::streamsize Done = 0;
  while (Done < Count) {
    if (CStreamFailed())
      return Done;
    const char *Begin = Text + Done;
    const void *Feed =
        std::memchr(Begin, '\n', static_cast<std::size_t>(Count - Done));
    const std::streamsize RunLength =
        Feed ? static_cast<const char *>(Feed) - Begin + 1 : Count - Done;
    const std::streamsize Written = ForwardBlock(Begin, RunLength);
    if (Written != RunLength)
      return Done + Written;
    if (Feed && Target()->pubsync() == -1)
      return Done + Written - 1;
    // The C library may have dropped what it took, and still answered
    // success: the whole run counts as not written.
    if (CStreamFailed())
      return Done;
    Done += Written;
  }
  return Done;
}

int GeLineBufStdout::sync() {
  const int Result = GeForwardingStreambuf::sync();
  return Result == 0 && CStreamFailed() ? -1 : Result;
}

//===----------------------------------------------------------------------===//
// GeFresh_ostrstream
//===----------------------------------------------------------------------===//

GeFresh_ostrstream::GeFresh_ostrstream() : Fresh(*this) {}

GeFresh_ostrstream::~GeFresh_ostrstream() = default;

void GeFresh_ostrstream::str(const std::string &Text) {
  std::ostringstream::str(Text);
  // The string buffer's put position is at the start again: writes overwrite
  // from there, so the column is that of the start of the text.
  Fresh.SetColumn(0);
}

//===----------------------------------------------------------------------===//
// Column operations
//===----------------------------------------------------------------------===//

std::int32_t GeColumn(std::ostream &Stream) {
  const GeFreshBuf *Fresh = GeFreshBuf::Find(Stream);
  return Fresh ? Fresh->Column() : -1;
}

namespace {

void MoveToColumn(std::ostream &Stream, GeFreshBuf &Fresh, int Column) {
  Column = std::max(Column, 0);
  if (Fresh.Column() > Column && !Stream.put('\n'))
    return;
  // Directly on the GeFreshBuf blanks go in blocks; through other adaptors
  // one at a time, since these may add characters of their own (a prefix).
  const bool Direct = Stream.rdbuf() == &Fresh;
  std::int32_t Current = Fresh.Column();
  while (Current < Column) {
    const std::streamsize Want =
        Direct ? std::min<std::streamsize>(Column - Current, BlankCount) : 1;
    if (!Stream.write(Blanks, Want))
      return;
    const std::int32_t Reached = Fresh.Column();
    if (Reached <= Current)
      return; // An adaptor above swallows blanks or breaks lines.
    Current = Reached;
  }
}

} // namespace

void GeMoveToColumn(std::ostream &Stream, int Column) {
  if (GeFreshBuf *Fresh = GeFreshBuf::Find(Stream))
    MoveToColumn(Stream, *Fresh, Column);
}

void GeWriteIndented(std::ostream &Stream, int Column,
                     const std::string &Text) {
  GeFreshBuf *Fresh = GeFreshBuf::Find(Stream);
  if (!Fresh)
    return;
  MoveToColumn(Stream, *Fresh, Column);
  std::string::size_type Start = 0;
  for (;;) {
    const std::string::size_type Feed = Text.find('\n', Start);
    const std::string::size_type End =
        Feed == std::string::npos ? Text.size() : Feed;
    Stream.write(Text.data() + Start,
                 static_cast<std::streamsize>(End - Start));
    if (Feed == std::string::npos || !Stream)
      return;
    Stream.put('\n');
    Stream.flush();
    MoveToColumn(Stream, *Fresh, Column);
    Start = Feed + 1;
  }
}
