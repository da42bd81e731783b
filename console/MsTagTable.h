// The console's tag table: the message subsystems, the level of each tag, and
// the mapping of a report to the level it is shown at.
#ifndef CONSOLE_MSTAGTABLE_H
#define CONSOLE_MSTAGTABLE_H

#include "console/MsConsole.h"

#include <cstdint>
#include <iosfwd>
#include <map>
#include <string>
#include <vector>

/// The registered message subsystems (prefix, text table, internal flags,
/// number range, text callback) and the current level of every tag they
/// define. Answers tag texts both ways, changes levels (for every position or
/// for a source range) and works out the level a report is shown at.
///
/// Levels. Each registered table gives every tag its default level; the
/// level options change them, but never a tag at level 0 or 2. The level of
/// a report is worked out by these steps: (1) the tag's level (the issuer's
/// level for a tag without table entry); (2) 0 and 2 are final; (3) a
/// warning or remark, or any "Pm" tag, that the application interface
/// suppresses at the position becomes 6; (4) the latest range override of
/// the tag that contains the position applies; (5) a warning becomes an
/// error (3) when warnings are errors; (6) warnings and remarks become 6
/// when warnings are disabled; (7) remarks become 6 unless remarks are
/// enabled. Level 6 drops the message.
///
/// The message tables and internal flags are not owned; they are static
/// tables of the subsystems and must outlive the table.
class MsTagTable {
public:
  using Level = MsConsole::Level;

  /// Registers a subsystem. A prefix that is there already, or that is not
  /// two characters long, is an internal failure; so is a default level
  /// outside 0 to 6.
  void Add(const std::string &Prefix, const MsConsole::MessageDef *Table,
           const bool *InternalFlags, std::uint16_t First, std::uint16_t Count,
           MsConsole::TextCallback Callback);
  bool HasPrefix(const std::string &Prefix) const;

  /// The text of Tag as its subsystem gives it (callback first, then the
  /// table), "[internal]" included; null when the tag has none.
  const char *RawText(const MsTag &Tag) const;
  /// Tag's text with a leading "[internal]" cut off; empty when it has none.
  std::string MessageText(const MsTag &Tag) const;
  /// "Ms001": the prefix and the number in "%03d" form; the number alone when
  /// no subsystem has the prefix.
  std::string TagText(const MsTag &Tag) const;
  /// Parses a tag text such as "Ms001"; false when no such message exists.
  bool TextToTag(const std::string &Text, MsTag &Tag) const;
  /// Writes "Ms001:  text" for every tag that is not internal, subsystems in
  /// prefix order.
  void List(std::ostream &Out) const;

  /// Sets Tag's level; false (and no change) when its current level is 0 or
  /// 2, or when the tag has no table entry.
  bool SetLevel(const MsTag &Tag, Level Lvl);
  /// Sets Tag's level for positions within Range; refused as above.
  bool SetLevel(const MsTag &Tag, const DiSourceRange &Range, Level Lvl);
  /// Tag's current level; Default when the tag has no table entry.
  Level LevelOf(const MsTag &Tag, Level Default) const;

  void SetWarningsEnabled(bool On) { WarningsEnabled = On; }
  void SetRemarksEnabled(bool On) { RemarksEnabled = On; }
  void SetWarningsAreErrors(bool On) { WarningsAreErrors = On; }

  /// Steps 2 to 7 of the level rule for a report of level Lvl with Tag (null
  /// for an untagged text) at Pos. App (may be null) is asked about
  /// suppression.
  Level Map(const MsTag *Tag, const DiSourcePosition &Pos, Level Lvl,
            MsConsole::ApplicationInterface *App) const;

  /// The kind a diagnostic of level Lvl is shown as (0 to kind 2, ..., 5 to
  /// kind 7); any other level is the internal failure "Unknown message
  /// level".
  static int KindOfLevel(Level Lvl);

private:
  struct SubSystem {
    std::string PrefixText;
    const MsConsole::MessageDef *Table;
    const bool *InternalFlags;
    std::uint16_t First;
    std::uint16_t Count;
    MsConsole::TextCallback Callback;
  };
  struct RangeLevel {
    MsTag Tag;
    DiSourceRange Range;
    Level Lvl;
  };

  const SubSystem *Find(const MsTag &Tag) const;
  /// The entry of a tag whose level may change, or null.
  std::map<MsTag, Level>::iterator Changeable(const MsTag &Tag, Level Lvl);

  std::map<std::string, SubSystem> SubSystems;
  std::map<MsTag, Level> TagLevels;
  std::vector<RangeLevel> RangeLevels;
  bool RemarksEnabled = false;
  bool WarningsEnabled = true;
  bool WarningsAreErrors = false;
};

#endif
