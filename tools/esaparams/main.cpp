// SPDX-License-Identifier: Apache-2.0
// esaparams: the platform's shared parameter area, in words.
#include <iostream>

#include "tools/esaparams/cli.h"

int main(int argc, char** argv) {
    return esaparams::run(argc, argv, std::cout, std::cerr);
}
