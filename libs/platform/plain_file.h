// SPDX-License-Identifier: Apache-2.0
// Log files stand in directories that others may write, too: these must not choose which file is
// written, nor stop who writes it.
#pragma once

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

constexpr mode_t PLAIN_FILE_K_MODE = 0640;

// Descriptor of the plain file `path`, opened with `flags` (O_RDWR, ...) and made when it is not
// there; `file` is what it is. Its mode is 0640 whatever the umask. -1 with errno set: no link is
// followed, a file with a second name is refused and so is anything else; a FIFO is not waited for.
// Safe in a signal handler.
inline int plainFileOpen(const char* path, int flags, struct stat& file) {
    const int fd = open(path, flags | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC,
                        PLAIN_FILE_K_MODE);
    if (fd < 0) {
        return -1;
    }
    if (fstat(fd, &file) != 0 || !S_ISREG(file.st_mode) || file.st_nlink != 1) {
        close(fd);
        errno = EINVAL;
        return -1;
    }
    if ((file.st_mode & ~static_cast<mode_t>(S_IFMT)) != PLAIN_FILE_K_MODE) {
        fchmod(fd, PLAIN_FILE_K_MODE);
    }
    return fd;
}
