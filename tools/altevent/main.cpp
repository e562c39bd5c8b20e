// SPDX-License-Identifier: Apache-2.0
// altevent: lists and decodes an alternate event log.
#include "tools/altevent/cli.h"

int main(int argc, char** argv) {
    return altevent::run(argc, argv, stdout, stderr);
}
