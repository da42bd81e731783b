# Installs the launcher for the prefix the install runs with, which
# `cmake --install --prefix` and cpack may choose after configuration.
# Included from an install script with
#   LAUNCHER_DIR  the launcher's folder; a relative one is taken under the
#                 prefix
#   WORK_DIR      a folder of the build tree for the file before it is
#                 installed
# The file is written under a name of its own for each install, so that
# installs running at the same time (the tests do) never share it.
set(PROGRAM "${CMAKE_INSTALL_PREFIX}/bin/chksel")
get_filename_component(PROGRAM "${PROGRAM}" ABSOLUTE)
string(RANDOM LENGTH 16 unique)
set(work "${WORK_DIR}/launcher-${unique}")
set(LAUNCHER "${work}/chksel")
include("${CMAKE_CURRENT_LIST_DIR}/WriteLauncher.cmake")
if(NOT IS_ABSOLUTE "${LAUNCHER_DIR}")
  set(LAUNCHER_DIR "${CMAKE_INSTALL_PREFIX}/${LAUNCHER_DIR}")
endif()
file(INSTALL "${LAUNCHER}" DESTINATION "${LAUNCHER_DIR}"
     FILE_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ
                      GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
file(REMOVE_RECURSE "${work}")
