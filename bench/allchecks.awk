# The all-checks selection of chksel as an awk script, for timing comparisons.
{ sub(/\r$/, "") }
$0 == "" { if (n) { if (sel && name != "") print name; n = 0; sel = 0; name = "" } next }
{
  i = index($0, "="); if (i < 2 || i == length($0)) next
  n = 1; k = toupper(substr($0, 1, i - 1)); v = substr($0, i + 1)
  if (k == "CHECKNAME") { name = v; sel = 1 }
  else if (k == "VISIBLE" && toupper(v) == "NO") sel = 0
}
