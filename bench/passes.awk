# The selection passes of chksel as an awk script, for timing comparisons and
# as a second reading of the selection rules. Each input file is read as one
# pass; the variable "passes" lists the passes in order, separated by "|":
# "all", or one of "check", "default", "group", "package" followed by ":" and
# the requested values separated by "," (empty values are dropped). Compares
# without regard to case by ASCII upper case, so run it with LC_ALL=C.
#   mawk -v 'passes=all|group:grp-001,grp-002' -f passes.awk F F
BEGIN {
  count = split(passes, list, "|")
  for (p = 1; p <= count; ++p) {
    c = index(list[p], ":")
    if (c == 0) { mode[p] = list[p]; continue }
    mode[p] = substr(list[p], 1, c - 1)
    k = split(substr(list[p], c + 1), values, ",")
    for (j = 1; j <= k; ++j)
      if (values[j] != "") want[p, toupper(values[j])] = 1
  }
}
FNR == 1 { m = mode[++pass]; n = 0; sel = 0; drop = 0; name = "" }
{ sub(/\r$/, "") }
$0 == "" {
  if (n) { if (sel && !drop && name != "") print name; n = 0; sel = 0; drop = 0; name = "" }
  next
}
drop { next }
{
  i = index($0, "="); if (i < 2 || i == length($0)) next
  n = 1; k = toupper(substr($0, 1, i - 1)); v = substr($0, i + 1)
  if (k == "CHECKNAME") {
    name = v
    if (m == "all" || (m == "check" && (pass, toupper(v)) in want)) sel = 1
  } else if (k == "PACKAGE") {
    if (m == "default" || m == "package") {
      if ((pass, toupper(v)) in want) sel = 1
      if (m == "default" && !sel) drop = 1
    }
  } else if (k == "GROUP") {
    if (m == "group" && (pass, toupper(v)) in want) sel = 1
  } else if (k == "DEFAULT") {
    if (m == "default" && toupper(v) == "ON") sel = 1
  } else if (k == "VISIBLE" && toupper(v) == "NO") sel = 0
}
