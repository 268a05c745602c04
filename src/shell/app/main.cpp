// The program's entry: checks the processor, then hands over. Everything that can be tested lives in App.
#include <cstdio>
#include <string>
#include <vector>

#include "shell/app/App.h"
#include "shell/platform/Machine.h"

int main(int count, char** words) {
  if (!HasNeededInstructions()) {
    std::fputs(
        "morvane: this processor lacks the AVX2 instructions that the program is built for (Intel from 2013, AMD from 2015)\n",
        stderr);
    return 1;
  }
  IgnoreClosedPipes();
  return RunApp(std::vector<std::string>(words + 1, words + (count > 0 ? count : 1)), {MORVANE_VERSION, MORVANE_DATA_DIR});
}
