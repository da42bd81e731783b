// The key filter of the manifest reader: which attributes its records keep.
#include "tool/LcKeyFilter.h"

void LcKeyFilter::Keep(std::size_t Length, const std::bitset<256> &Initials) {
  All = false;
  // No key is empty, so a length of 0 keeps nothing.
  if (Length == 0)
    return;
  if (Length < ShortKeys) {
    Short[Length] |= Initials;
    return;
  }
  for (auto &Known : Long)
    if (Known.first == Length) {
      Known.second |= Initials;
      return;
    }
  Long.emplace_back(Length, Initials);
}

bool LcKeyFilter::KeepsLong(std::string_view Key) const {
  for (const auto &Known : Long)
    if (Known.first == Key.size())
      return Known.second[static_cast<unsigned char>(Key[0])];
  return false;
}
