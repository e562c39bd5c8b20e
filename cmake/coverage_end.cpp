// SPDX-License-Identifier: Apache-2.0
// The coverage build only: what stands in front of the ends of a process that run no destructors.
extern "C" {
void __gcov_dump();
[[noreturn]] void __real_abort();
[[noreturn]] void __real__exit(int status);

[[noreturn]] void __wrap_abort();
void __wrap_abort() {
    __gcov_dump();
    __real_abort();
}

[[noreturn]] void __wrap__exit(int status);
void __wrap__exit(int status) {
    __gcov_dump();
    __real__exit(status);
}
}
