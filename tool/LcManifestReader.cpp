// The checks manifest reader: records of key=value lines, read one at a time.
#include "tool/LcManifestReader.h"

#include "console/MsConsole.h"
#include "tool/LcMessages.h"

#include <boost/iostreams/device/file_descriptor.hpp>
#include <boost/iostreams/stream.hpp>

#include <sys/stat.h>

class LcManifestReader::FileStream
    : public boost::iostreams::stream<
          boost::iostreams::file_descriptor_source> {};

LcManifestReader::LcManifestReader() = default;

LcManifestReader::~LcManifestReader() {
  try {
    Close();
  } catch (const std::ios_base::failure &) {
    // Restoring the caller's exception mask fired on a stream that has
    // already ended; nothing is left to report.
  }
}

namespace {
bool IsDirectory(int Handle) {
  struct stat Status;
  return fstat(Handle, &Status) == 0 && S_ISDIR(Status.st_mode);
}
} // namespace

void LcManifestReader::Open(const std::string &Path) {
  Close();
  auto Stream = std::make_unique<FileStream>();
  bool Opened = false;
  try {
    boost::iostreams::file_descriptor_source Source(
        Path, std::ios_base::in | std::ios_base::binary);
    // A directory opens for reading but cannot be read as a manifest.
    if (!IsDirectory(Source.handle())) {
      Stream->open(Source, BufferSize);
      Opened = Stream->is_open();
    }
  } catch (const std::ios_base::failure &) {
    Opened = false;
  }
  if (!Opened) {
    LcReport(LcMsgCouldNotOpen, Path);
    throw MsConsoleException();
  }
  File = std::move(Stream);
  Start(*File);
}

void LcManifestReader::Open(std::istream &Stream) {
  Close();
  Start(Stream);
}

void LcManifestReader::Start(std::istream &Stream) {
  In = &Stream;
  SavedExceptions = Stream.exceptions();
  // Setting a mask throws at once when the state already matches it; a bad
  // stream simply yields nothing.
  if (!Stream.bad())
    Stream.exceptions(std::ios_base::badbit);
  AtEndFlag = false;
  ReadRecord();
}

bool LcManifestReader::Advance() {
  if (AtEndFlag)
    return false;
  ReadRecord();
  if (In->fail()) {
    AtEndFlag = true;
    return false;
  }
  return true;
}

void LcManifestReader::Close() {
  std::istream *Borrowed = File ? nullptr : In;
  In = nullptr;
  File.reset();
  AtEndFlag = true;
  if (Borrowed)
    Borrowed->exceptions(SavedExceptions);
}

bool LcManifestReader::ReadLine(std::string &Line) {
  try {
    return static_cast<bool>(std::getline(*In, Line));
  } catch (const std::ios_base::failure &) {
    // A read error of the stream: it is bad now and the input ends here.
    return false;
  }
}

void LcManifestReader::ReadRecord() {
  Record.Used = 0;
  for (;;) {
    if (Record.Slots.size() == Record.Used)
      Record.Slots.emplace_back();
    LcAttribute &Slot = Record.Slots[Record.Used];
    std::string &Line = Slot.Line;
    if (!ReadLine(Line))
      return;
    if (!Line.empty() && Line.back() == '\r')
      Line.pop_back();
    if (Line.empty()) {
      if (Record.Used != 0)
        return;
      continue;
    }
    std::string::size_type Eq = Line.find('=');
    if (Eq == std::string::npos || Eq == 0 || Eq + 1 == Line.size())
      continue;
    Slot.Eq = Eq;
    ++Record.Used;
  }
}
