# Writes the launcher: a shell script that starts the installed chksel by its
# full path. chksel looks for its manifest beside the folder of the path it
# was started by, as that path stands; started by a bare name found on PATH
# it would look relative to the current folder instead.
#
# Run at install time (cmake -P, or included from an install script) with
#   PROGRAM   the full path of the installed program
#   LAUNCHER  the file to write
if(NOT IS_ABSOLUTE "${PROGRAM}")
  message(FATAL_ERROR "The launcher needs the program's full path, not '${PROGRAM}'")
endif()
# The path stands in single quotes; a quote inside is closed, escaped and
# reopened.
string(REPLACE "'" "'\\''" quoted "${PROGRAM}")
file(WRITE "${LAUNCHER}"
  "#!/bin/sh\n"
  "# Starts chksel by its full path, so that it finds the checks manifest\n"
  "# installed with it.\n"
  "exec '${quoted}' \"$@\"\n")
