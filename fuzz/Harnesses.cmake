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
