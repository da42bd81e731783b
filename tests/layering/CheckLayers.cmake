# Checks that the layers of the source tree only reach downwards, and that the
# README's layout table lists the layers in their order. Run as a script:
#
#   cmake -DROOT=<tree> -DLAYERS=<lowest>,...,<highest> -P CheckLayers.cmake
#
# In every folder <layer> of ROOT, a file that includes "<other>/..." where
# <other> is a later layer is reported, and so is one that includes "../..."
# and a target_link_libraries call in <layer>/CMakeLists.txt that names a
# later layer (plain or as chksel::<other>). The rows of the table in the
# README's "## Layout" section must name the folders "<layer>/" in the order
# of LAYERS. Every problem is printed; the script fails when there is one.
if(NOT DEFINED ROOT OR NOT DEFINED LAYERS)
  message(FATAL_ERROR "usage: cmake -DROOT=<tree> -DLAYERS=a,b,... -P CheckLayers.cmake")
endif()
string(REPLACE "," ";" layers "${LAYERS}")
set(problems 0)

macro(report text)
  message("${text}")
  math(EXPR problems "${problems} + 1")
endmacro()

# Reports "<where> <what> <other>, above <layer>" when other is a later layer
# than the one being checked (its index is level).
macro(report_if_above where what other)
  list(FIND layers "${other}" other_level)
  if(other_level GREATER level)
    report("${where} ${what} ${other}, above ${layer}")
  endif()
endmacro()

foreach(layer ${layers})
  list(FIND layers ${layer} level)
  if(NOT IS_DIRECTORY ${ROOT}/${layer})
    report("${layer}/: the folder of a layer is missing")
    continue()
  endif()

  file(GLOB_RECURSE sources RELATIVE ${ROOT}
       ${ROOT}/${layer}/*.h ${ROOT}/${layer}/*.cpp)
  list(SORT sources)
  foreach(source ${sources})
    file(STRINGS ${ROOT}/${source} includes
         REGEX "^[ \t]*#[ \t]*include[ \t]*[\"<][A-Za-z0-9_.]+/")
    foreach(line ${includes})
      string(REGEX REPLACE "^[ \t]*#[ \t]*include[ \t]*[\"<]([^\">]*)[\">].*$"
                           "\\1" header "${line}")
      string(REGEX REPLACE "/.*$" "" folder "${header}")
      if(folder STREQUAL "..")
        report("${source}: includes \"${header}\" by a path out of ${layer}")
        continue()
      endif()
      report_if_above("${source}:" "includes \"${header}\" of layer" ${folder})
    endforeach()
  endforeach()

  if(EXISTS ${ROOT}/${layer}/CMakeLists.txt)
    file(READ ${ROOT}/${layer}/CMakeLists.txt script)
    string(REGEX MATCHALL "target_link_libraries[ \t]*\\([^)]*\\)" calls
           "${script}")
    foreach(call ${calls})
      string(REGEX REPLACE "^target_link_libraries[ \t]*\\(([^)]*)\\)$" "\\1"
                           arguments "${call}")
      string(REGEX REPLACE "[ \t\r\n]+" ";" arguments "${arguments}")
      list(POP_FRONT arguments target)
      foreach(library ${arguments})
        string(REGEX REPLACE "^chksel::" "" library "${library}")
        report_if_above("${layer}/CMakeLists.txt:" "${target} links" ${library})
      endforeach()
    endforeach()
  endif()
endforeach()

# The README's layout table: the rows of the first table after "## Layout".
file(STRINGS ${ROOT}/README.md readme)
set(in_layout FALSE)
set(listed "")
foreach(line IN LISTS readme)
  if(line MATCHES "^## ")
    set(in_layout FALSE)
    if(line STREQUAL "## Layout")
      set(in_layout TRUE)
    endif()
  elseif(in_layout AND line MATCHES "^\\| `([A-Za-z0-9_]+)/` \\|")
    list(APPEND listed ${CMAKE_MATCH_1})
  endif()
endforeach()
if(NOT listed STREQUAL layers)
  string(REPLACE ";" ", " listed_text "${listed}")
  string(REPLACE ";" ", " layers_text "${layers}")
  report("README.md: the layout table lists ${listed_text}; the layers are ${layers_text}")
endif()

if(problems GREATER 0)
  message(FATAL_ERROR "${problems} layering problem(s)")
endif()
