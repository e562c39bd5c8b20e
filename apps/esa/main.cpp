// SPDX-License-Identifier: Apache-2.0
// Process entry of the Enclosure Services Adapter.
#include <cstdio>
#include <cstring>

#include "esamain.h"

int main(int argc, char** argv) {
    if (argc == 2 && std::strcmp(argv[1], "--version") == 0) {
        return std::puts("esa " ESA_VERSION) == EOF;
    }
    return esaMain(argc, argv);
}
