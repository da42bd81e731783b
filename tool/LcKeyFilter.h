// The key filter of the manifest reader: which attributes its records keep.
#ifndef TOOL_LCKEYFILTER_H
#define TOOL_LCKEYFILTER_H

#include <array>
#include <bitset>
#include <cstddef>
#include <string_view>
#include <utility>
#include <vector>

/// Which attributes a reader keeps in its records: those whose key has one of
/// the filter's lengths and begins with one of the bytes given with that
/// length. A default-made filter keeps every attribute; the first Keep makes
/// it keep only what Keep names. The attributes a filter leaves out still
/// count for the record rules (a line that is a valid attribute makes the
/// record non-empty, so an empty line after it ends the record), so a filter
/// changes what a record holds, never where records begin or end.
class LcKeyFilter {
public:
  /// Keeps, besides what the filter keeps already, the attributes whose key
  /// is Length bytes long and begins with a byte B for which Initials[B] is
  /// set.
  void Keep(std::size_t Length, const std::bitset<256> &Initials);

  bool KeepsAll() const { return All; }
  /// Whether an attribute whose key is Key is kept.
  bool Keeps(std::string_view Key) const {
    if (All)
      return true;
    if (Key.empty())
      return false;
    if (Key.size() < ShortKeys)
      return Short[Key.size()][static_cast<unsigned char>(Key[0])];
    return KeepsLong(Key);
  }

private:
  friend class LcManifestReader;
  bool KeepsLong(std::string_view Key) const;

  /// Keys shorter than this are looked up by length.
  static constexpr std::size_t ShortKeys = 64;
  bool All = true;
  /// The initials kept for each key length below ShortKeys.
  std::array<std::bitset<256>, ShortKeys> Short;
  /// The initials kept for longer keys, by length.
  std::vector<std::pair<std::size_t, std::bitset<256>>> Long;
};

#endif
