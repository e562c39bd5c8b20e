// SPDX-License-Identifier: Apache-2.0
// Preload library: counts the calls of the allocation functions in the file COUNT_ALLOC_FILE names,
// four bytes in host order, for a test to look at while the program runs.
#include <fcntl.h>
#include <malloc.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>

// The C library's own names for its allocator.
extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* block, std::size_t size);
void* __libc_memalign(std::size_t alignment, std::size_t size);
}

namespace {

volatile std::uint32_t* counter;

__attribute__((constructor)) void openCounter() {
    const char* const path = std::getenv("COUNT_ALLOC_FILE");
    const int fd = path == nullptr ? -1 : open(path, O_RDWR | O_CLOEXEC);
    if (fd < 0) {
        return;
    }
    void* const area = mmap(nullptr, sizeof *counter, PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
    close(fd);
    if (area != MAP_FAILED) {
        counter = static_cast<volatile std::uint32_t*>(area);
    }
}

void count() {
    if (counter != nullptr) {
        *counter = *counter + 1;
    }
}

}  // namespace

extern "C" {

void* malloc(std::size_t size) {
    count();
    return __libc_malloc(size);
}

void* calloc(std::size_t number, std::size_t size) {
    count();
    return __libc_calloc(number, size);
}

void* realloc(void* block, std::size_t size) {
    count();
    return __libc_realloc(block, size);
}

void* aligned_alloc(std::size_t alignment, std::size_t size) {
    count();
    return __libc_memalign(alignment, size);
}
}
