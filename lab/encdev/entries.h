// SPDX-License-Identifier: Apache-2.0
// Entries of the C library that programs are linked with, but its headers declare to nobody or only
// to the programs that need them.
#pragma once

#include <poll.h>
#include <sys/select.h>
#include <sys/socket.h>
#include <time.h>

#include <cstddef>
#include <cstdint>

#include "lab/encdev/next.h"
#include "lab/encdev/wide_time.h"

// Fortified programs: an open without a mode; waits with the size of the array behind.
ENCDEV_CALL int __open_2(const char* path, int flags);
ENCDEV_CALL int __open64_2(const char* path, int flags);
ENCDEV_CALL int __openat_2(int directory, const char* path, int flags);
ENCDEV_CALL int __openat64_2(int directory, const char* path, int flags);
ENCDEV_CALL int __poll_chk(pollfd* fds, nfds_t count, int wait, std::size_t size);
ENCDEV_CALL int __ppoll_chk(pollfd* fds, nfds_t count, const timespec* wait, const sigset_t* mask,
                            std::size_t size);

#if __WORDSIZE == 32
// 32-bit programs with 64-bit time.
ENCDEV_CALL int __ioctl_time64(int fd, unsigned long request, ...) noexcept;
ENCDEV_CALL int __clock_gettime64(clockid_t clock, encdev::Timespec64* time) noexcept;
ENCDEV_CALL int __gettimeofday64(encdev::Timeval64* time, void* zone) noexcept;
ENCDEV_CALL std::int64_t __time64(std::int64_t* result) noexcept;
ENCDEV_CALL int __nanosleep64(const encdev::Timespec64* wait, encdev::Timespec64* left);
ENCDEV_CALL int __clock_nanosleep_time64(clockid_t clock, int flags, const encdev::Timespec64* wait,
                                         encdev::Timespec64* left);
ENCDEV_CALL int __select64(int count, fd_set* in, fd_set* out, fd_set* except,
                           encdev::Timeval64* wait);
ENCDEV_CALL int __pselect64(int count, fd_set* in, fd_set* out, fd_set* except,
                            const encdev::Timespec64* wait, const sigset_t* mask);
ENCDEV_CALL int __ppoll64(pollfd* fds, nfds_t count, const encdev::Timespec64* wait,
                          const sigset_t* mask);
ENCDEV_CALL int __setsockopt64(int fd, int level, int option, const void* value, socklen_t length);
#endif
