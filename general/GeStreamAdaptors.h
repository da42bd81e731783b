// Output stream adaptors: stream buffers that put themselves between an
// output stream and its own buffer, do one thing to the characters on the way
// (count columns, prefix lines, flush per line), and give the stream its buffer
// back when they are destroyed. Also the column operations used to lay out
// help texts and diagnostics.
#ifndef GENERAL_GESTREAMADAPTORS_H
#define GENERAL_GESTREAMADAPTORS_H

#include <cstdint>
#include <cstdio>
#include <ostream>
#include <sstream>
#include <streambuf>
#include <string>

/// A stream buffer that installs itself as the buffer of an output stream and
/// forwards every character, block write and synchronisation to the buffer the
/// stream had before (the target).
///
/// The constructor remembers the stream and its current buffer and makes this
/// object the stream's buffer; the destructor gives the stream its previous
/// buffer back. Neither changes the stream's state flags or exception mask.
/// The adaptor owns nothing: the stream and the target must outlive it, and
/// adaptors stacked on one stream must be destroyed in reverse order of
/// construction.
///
/// The adaptor keeps no put area, so every character reaches the target
/// before the write returns. A write the target refuses fails here too:
/// overflow() answers eof, xsputn() the number of characters the target took,
/// and sync() the target's result (-1 without a target).
class GeForwardingStreambuf : public std::streambuf {
public:
  explicit GeForwardingStreambuf(std::ostream &Stream);
  ~GeForwardingStreambuf() override;

  GeForwardingStreambuf(const GeForwardingStreambuf &) = delete;
  GeForwardingStreambuf &operator=(const GeForwardingStreambuf &) = delete;

  /// The stream this adaptor is installed on.
  std::ostream &Stream() const { return InstalledOn; }
  /// The buffer the stream had before; characters go there. May be null.
  std::streambuf *Target() const { return Previous; }

protected:
  int_type overflow(int_type Ch) override;
  std::streamsize xsputn(const char *Text, std::streamsize Count) override;
  int sync() override;

  /// Hands one character to the target; false when the target refuses it.
  bool ForwardChar(char Ch);
  /// Hands Count characters to the target and answers how many it took.
  std::streamsize ForwardBlock(const char *Text, std::streamsize Count);

private:
  std::ostream &InstalledOn;
  std::streambuf *Previous;
};

/// Counts the column of the output: the number of characters written since
/// the last line feed (0 at construction). A line feed sets it to 0, any other
/// character adds 1; characters the target refuses are not counted. The count
/// stops growing at the largest 32-bit value.
///
/// Every live GeFreshBuf is entered in a process-wide registry: an ordered map
/// from the buffer it was installed over (its target) to itself. The column
/// operations below find a stream's GeFreshBuf by this rule: starting at the
/// stream's current buffer, follow the chain of GeForwardingStreambuf targets
/// downwards and take the first buffer that the registry lists as a
/// GeFreshBuf over its own target. So the GeFreshBuf may be the stream's
/// current buffer or lie below other adaptors installed on the same stream
/// later (a GePrefixStreamAdaptor, say), whose output it then counts too. A
/// stream that merely shares the raw target buffer does not see it.
class GeFreshBuf : public GeForwardingStreambuf {
public:
  explicit GeFreshBuf(std::ostream &Stream);
  ~GeFreshBuf() override;

  /// The column at which the next character will be written.
  std::int32_t Column() const { return CurrentColumn; }
  /// Sets the column, for output that reached the target past this buffer.
  void SetColumn(std::int32_t NewColumn) { CurrentColumn = NewColumn; }

  /// The GeFreshBuf that tracks Stream by the rule above, or null.
  static GeFreshBuf *Find(std::ostream &Stream);

protected:
  int_type overflow(int_type Ch) override;
  std::streamsize xsputn(const char *Text, std::streamsize Count) override;

private:
  /// Counts the first Written characters of Text.
  void Advance(const char *Text, std::streamsize Written);

  std::int32_t CurrentColumn = 0;
};

/// Writes a prefix at the start of every line: before the first character
/// after construction and before the first character after each line feed.
/// Before a line feed the prefix is written without its trailing spaces, so
/// that empty lines carry no trailing blanks (a prefix of blanks writes
/// nothing before an empty line).
class GePrefixStreamAdaptor : public GeForwardingStreambuf {
public:
  GePrefixStreamAdaptor(std::ostream &Stream, std::string Prefix);

  const std::string &Prefix() const { return LinePrefix; }
  /// Whether the next character starts a line (and so gets the prefix).
  bool AtLineStart() const { return LineStart; }

protected:
  int_type overflow(int_type Ch) override;
  std::streamsize xsputn(const char *Text, std::streamsize Count) override;

private:
  /// Writes the prefix for a line that starts with Next; false on failure.
  bool WritePrefix(char Next);

  std::string LinePrefix;
  std::string::size_type TrimmedLength;
  bool LineStart = true;
};

/// Forwards every character and synchronises the target after every line
/// feed, so that each complete line leaves the process at once. A failed
/// synchronisation counts as a failed write of that line feed.
///
/// Creating the first live instance also switches the C standard output into
/// line-buffered mode with a 512-byte buffer; the number of live instances is
/// kept in a process-wide counter.
///
/// When the target is the buffer that hands std::cout's characters to a C
/// stream (the library's stdio_sync_filebuf), the C stream's error flag is
/// read after every block, character and synchronisation: the C library drops
/// a buffer it failed to write and only sets that flag, while the calls that
/// filled the buffer, and the flush that follows, report success. Once the
/// flag is set every write and synchronisation here fails, so the stream
/// above goes bad and no failure of standard output is lost.
class GeLineBufStdout : public GeForwardingStreambuf {
public:
  explicit GeLineBufStdout(std::ostream &Stream);
  ~GeLineBufStdout() override;

  /// The number of GeLineBufStdout objects alive in the process.
  static int LiveInstances();

  /// Whether the C stream under the target has failed (false when the
  /// target is not a C stream's buffer).
  bool CStreamFailed() const;

protected:
  int_type overflow(int_type Ch) override;
  std::streamsize xsputn(const char *Text, std::streamsize Count) override;
  int sync() override;

private:
  /// The C stream the target writes to, or null.
  std::FILE *CStream = nullptr;
};

/// A string output stream whose column is known: it installs its own
/// GeFreshBuf on itself, so the column operations work on it.
///
/// Note that std::ostringstream::rdbuf() (hidden here) answers the string
/// buffer; through a std::ostream reference rdbuf() answers the GeFreshBuf.
class GeFresh_ostrstream : public std::ostringstream {
public:
  GeFresh_ostrstream();
  ~GeFresh_ostrstream() override;

  GeFresh_ostrstream(const GeFresh_ostrstream &) = delete;
  GeFresh_ostrstream &operator=(const GeFresh_ostrstream &) = delete;

  /// The text written so far.
  std::string str() const { return std::ostringstream::str(); }
  /// Replaces the text. As with std::ostringstream, writing starts again at
  /// the beginning of the buffer, so the column is 0.
  void str(const std::string &Text);

  std::int32_t Column() const { return Fresh.Column(); }

private:
  GeFreshBuf Fresh;
};

/// The column at which the next character written to Stream lands, or -1
/// when Stream has no GeFreshBuf.
std::int32_t GeColumn(std::ostream &Stream);

/// Moves Stream's output to Column: when the current column is greater than
/// Column, writes a line feed; then writes spaces until the column is at
/// least Column (a negative Column counts as 0). Does nothing when Stream has
/// no GeFreshBuf. The characters
/// are written through the stream, so adaptors above the GeFreshBuf see them.
void GeMoveToColumn(std::ostream &Stream, int Column);

/// Writes Text indented at Column: moves to Column, then writes Text line by
/// line (lines are split at line feeds); between two lines it writes a line
/// feed, flushes the stream and moves to Column again. Does nothing at all
/// when Stream has no GeFreshBuf.
void GeWriteIndented(std::ostream &Stream, int Column, const std::string &Text);

#endif
