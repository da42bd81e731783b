// Source positions: places in the sequence of all lines the tool read.
#ifndef SOURCEPOS_DISOURCEPOSITION_H
#define SOURCEPOS_DISOURCEPOSITION_H

#include "general/GeRcObjectShare.h"

#include <cstdint>
#include <string>
#include <vector>

/// One file that was read. Shared by reference count between the line
/// sequence that names it and anyone who keeps it beyond that.
class DiFile : public GeRcObjectShare {
public:
  explicit DiFile(std::string Path, std::uint32_t Value1 = 0,
                  std::uint32_t Value2 = 0, std::uint32_t Value3 = 0);

  /// The path as it was opened.
  const std::string &Path() const { return FilePath; }
  /// The name shown in diagnostics: the path as it was given.
  const std::string &Name() const { return DisplayName; }
  /// Three values fixed when the record is made; free for the reader's use.
  std::uint32_t Value(int Which) const { return Values[Which]; }

private:
  std::string FilePath;
  std::string DisplayName;
  std::uint32_t Values[3];
};

/// The ordered list of all lines read, across files. A line is addressed by
/// its index in the sequence.
class DiSourceLineSequence {
public:
  virtual ~DiSourceLineSequence();

  /// The line number of Index within its file (1-based), 0 when the index
  /// lies at the end of the sequence.
  virtual std::uint32_t LineNumber(std::uint32_t Index) const = 0;
  /// The file of the line at Index, null when the index lies at the end.
  virtual const DiFile *File(std::uint32_t Index) const = 0;
  /// Whether Index lies at the end of the sequence.
  virtual bool IsAtEnd(std::uint32_t Index) const = 0;
  /// The text of the line at Index, when the sequence kept it.
  virtual bool LineText(std::uint32_t Index, std::string &Text) const = 0;

  /// Builds a sequence while the tool reads. Files are read one after the
  /// other; each occupies a contiguous block of line indexes.
  class Builder {
  public:
    virtual ~Builder();
    /// Starts a block for File; its line L has index (returned base) + L - 1.
    virtual std::uint32_t BeginFile(GeRcPtr<DiFile> File) = 0;
    /// Ends the current block after LineCount lines; later indexes lie at the
    /// end of the sequence until another file begins.
    virtual void EndFile(std::uint32_t LineCount) = 0;
    /// Keeps the text of the line with the given index of the current file.
    virtual void SetLineText(std::uint32_t Index, std::string Text) = 0;
  };
};

/// A line/column place in one DiSourceLineSequence, or one of the two reserved
/// positions sNone (no position) and sEnd (the end of all input), which belong
/// to no sequence. Positions do not own their sequence: it must outlive them.
class DiSourcePosition {
public:
  // Constexpr, so that sNone and sEnd are initialised before any dynamic
  // initialisation that may copy them.
  constexpr DiSourcePosition(std::uint32_t LineIndex, std::uint32_t Column,
                             const DiSourceLineSequence *Sequence)
      : Index(LineIndex), Col(Column), Seq(Sequence) {}

  static const DiSourcePosition sNone;
  static const DiSourcePosition sEnd;

  std::uint32_t LineIndex() const { return Index; }
  std::uint32_t Column() const { return Col; }
  const DiSourceLineSequence *Sequence() const { return Seq; }

  bool IsNone() const { return *this == sNone; }
  bool IsEnd() const { return *this == sEnd; }
  /// sEnd, or a position that its sequence reports as at its end.
  bool IsAtEndOfSource() const;
  /// The file of the position, null for the reserved positions and at the
  /// end of the source.
  const DiFile *File() const;
  /// The line number within the file (1-based); 0 where there is no file.
  std::uint32_t Line() const;

  /// Text form for traces and internal messages: "sNone", "sEnd",
  /// "at end of source", or [name "\"] line ":" column.
  std::string Text(bool ShowFile) const;

  /// Ordering: sNone before every real position, sEnd after every one;
  /// positions of two different sequences are an internal failure.
  friend bool operator<(const DiSourcePosition &A, const DiSourcePosition &B);
  friend bool operator==(const DiSourcePosition &A, const DiSourcePosition &B) {
    return A.Index == B.Index && A.Col == B.Col && A.Seq == B.Seq;
  }
  friend bool operator!=(const DiSourcePosition &A, const DiSourcePosition &B) {
    return !(A == B);
  }

private:
  std::uint32_t Index;
  std::uint32_t Col;
  const DiSourceLineSequence *Seq;
};

/// A stretch of source from Start to End (both inclusive).
struct DiSourceRange {
  DiSourceRange()
      : Start(DiSourcePosition::sNone), End(DiSourcePosition::sNone) {}
  explicit DiSourceRange(const DiSourcePosition &Pos) : Start(Pos), End(Pos) {}
  DiSourceRange(const DiSourcePosition &From, const DiSourcePosition &To)
      : Start(From), End(To) {}

  /// Whether Pos lies within the range; false for positions of another
  /// sequence and for the reserved positions.
  bool Contains(const DiSourcePosition &Pos) const;

  DiSourcePosition Start;
  DiSourcePosition End;
};

/// The sequence implementation: entries sorted by first line index, each
/// naming its file (or none, for the end) and the line number of its first
/// line.
class OgSourceLineSequence : public DiSourceLineSequence {
public:
  std::uint32_t LineNumber(std::uint32_t Index) const override;
  const DiFile *File(std::uint32_t Index) const override;
  bool IsAtEnd(std::uint32_t Index) const override;
  bool LineText(std::uint32_t Index, std::string &Text) const override;

  /// Forgets every file and line text, so that the next file begins at
  /// index 0 again. Positions made before no longer mean anything.
  void Clear();

  class Builder : public DiSourceLineSequence::Builder {
  public:
    explicit Builder(OgSourceLineSequence &Target) : Seq(Target) {}
    std::uint32_t BeginFile(GeRcPtr<DiFile> File) override;
    void EndFile(std::uint32_t LineCount) override;
    void SetLineText(std::uint32_t Index, std::string Text) override;

  private:
    OgSourceLineSequence &Seq;
  };

private:
  struct Entry {
    std::uint32_t FirstIndex;
    std::uint32_t FirstLineNumber;
    GeRcPtr<DiFile> File;
  };
  /// The last entry whose first index is not greater than Index, or null.
  const Entry *Lookup(std::uint32_t Index) const;

  std::vector<Entry> Entries;
  std::vector<std::pair<std::uint32_t, std::string>> Texts;
  std::uint32_t NextIndex = 0;
};

#endif
