# The fuzz harnesses, each with the library it reaches through. Read by the
# libFuzzer build (fuzz/CMakeLists.txt) and by the replay tests of the normal
# build (tests/fuzz/CMakeLists.txt). Each harness keeps its corpus in
# fuzz/corpus/<harness>/.
set(CHKSEL_FUZZ_HARNESSES
  ManifestReaderFuzz SelectionFuzz CmdlineWalkFuzz MessageContentFuzz
  ToolCmdlineFuzz UnicodeFuzz DependListFuzz IdeProtocolFuzz OutputNamingFuzz)
set(CHKSEL_FUZZ_LIB_ManifestReaderFuzz tool)
set(CHKSEL_FUZZ_LIB_SelectionFuzz tool)
set(CHKSEL_FUZZ_LIB_CmdlineWalkFuzz cmdline)
set(CHKSEL_FUZZ_LIB_MessageContentFuzz appinterface)
set(CHKSEL_FUZZ_LIB_ToolCmdlineFuzz tool)
set(CHKSEL_FUZZ_LIB_UnicodeFuzz chksel::general)
set(CHKSEL_FUZZ_LIB_DependListFuzz appinterface)
set(CHKSEL_FUZZ_LIB_IdeProtocolFuzz ideagent)
set(CHKSEL_FUZZ_LIB_OutputNamingFuzz setup)

# Every harness may use the shared test support (tests/support). The
# libFuzzer build has no tests folder of its own, so it is added here when
# the including project has not added it yet.
if(NOT TARGET chksel_test_support)
  add_subdirectory(${CMAKE_CURRENT_LIST_DIR}/../tests/support
                   ${CMAKE_BINARY_DIR}/test-support)
endif()
foreach(harness ${CHKSEL_FUZZ_HARNESSES})
  list(APPEND CHKSEL_FUZZ_LIB_${harness} chksel_test_support)
endforeach()
