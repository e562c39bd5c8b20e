// SPDX-License-Identifier: Apache-2.0
// esa-doctor: whether this machine can run the service.
#include <iostream>

#include "tools/doctor/cli.h"

int main(int argc, char** argv) {
    return doctor::run(argc, argv, std::cout, std::cerr);
}
