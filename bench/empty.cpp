// SPDX-License-Identifier: Apache-2.0
// What it costs to start a program that does nothing: with the C library only, and with the C++
// library as well.
int main() {}
