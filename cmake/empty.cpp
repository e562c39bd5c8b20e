// SPDX-License-Identifier: Apache-2.0
// Gives the targets that only hold a precompiled header a source.
int main() {
    return 0;
}
