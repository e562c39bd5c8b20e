// SPDX-License-Identifier: Apache-2.0
// Preload library: the first call of an allocation function ends the program while there is a file
// of the name in NO_ALLOC_FILE.
#include <unistd.h>

#include <cstddef>
#include <cstdlib>

// The C library's own names for its allocator.
extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* block, std::size_t size);
void* __libc_memalign(std::size_t alignment, std::size_t size);
}

static void check() {
    const char* const file = std::getenv("NO_ALLOC_FILE");
    if (file != nullptr && access(file, F_OK) == 0) {
        std::abort();
    }
}

extern "C" {

void* malloc(std::size_t size) {
    check();
    return __libc_malloc(size);
}

void* calloc(std::size_t number, std::size_t size) {
    check();
    return __libc_calloc(number, size);
}

void* realloc(void* block, std::size_t size) {
    check();
    return __libc_realloc(block, size);
}

void* aligned_alloc(std::size_t alignment, std::size_t size) {
    check();
    return __libc_memalign(alignment, size);
}
}
