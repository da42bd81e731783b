// Linked into every program of the coverage build (scripts/coverage.sh):
// _exit and _Exit are wrapped so that the coverage counters are written
// first. Test children (death tests) and the tool's own fatal exits end
// through them, and would otherwise leave no counts behind.
extern "C" {
void __gcov_dump();
[[noreturn]] void __real__exit(int Status);
[[noreturn]] void __real__Exit(int Status);

[[noreturn]] void __wrap__exit(int Status) {
  __gcov_dump();
  __real__exit(Status);
}

[[noreturn]] void __wrap__Exit(int Status) {
  __gcov_dump();
  __real__Exit(Status);
}
}
