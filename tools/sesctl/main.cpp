// SPDX-License-Identifier: Apache-2.0
// sesctl: SES client of the enclosure.
#include <iostream>

#include "tools/sesctl/cli.h"

int main(int argc, char** argv) {
    return sesctl::run(argc, argv, std::cout, std::cerr);
}
