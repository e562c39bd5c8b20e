// SPDX-License-Identifier: Apache-2.0
// personality: checks an enclosure personality file.
#include <iostream>

#include "tools/personality/cli.h"

int main(int argc, char** argv) {
    return personality::run(argc, argv, std::cout, std::cerr);
}
