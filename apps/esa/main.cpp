// SPDX-License-Identifier: Apache-2.0
// Process entry of the Enclosure Services Adapter.
#include "esamain.h"

int main(int argc, char** argv) {
    return esaMain(argc, argv);
}
