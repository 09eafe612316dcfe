// Golden results by the program's own streams.
#include <iostream>

#include "tests/golden/program.h"

int main(int count, char** arguments) {
    return golden::RunProgram({arguments + 1, arguments + count},
                              {std::cout, std::cerr, ZVK_PLUGIN});
}
