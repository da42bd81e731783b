// The chksel program entry.
#include "setup/SuRun.h"
#include "tool/LCmMain0.h"
#include "tool/LcInternalFailure.h"

int main(int Argc, char **Argv) {
  LcInstallInternalFailureHandler();
  LCmMain0 Main;
  return SuRun(Argc, Argv, Main, Main.Console());
}
