// SPDX-License-Identifier: Apache-2.0
// The least a server of the link can do: wait, peek a header, take the message, send a prepared
// reply. With transfers, as many bare ones on the enclosure's adapter in between as the service
// makes.
// usage: bench_floor SOCKET REPLY [TRANSFERS]     REPLY and TRANSFERS are files; of a transfer
//        there are 4 bytes: address, register, byte to write, 1 for a read
#include <fcntl.h>
#include <linux/i2c-dev.h>
#include <linux/i2c.h>
#include <sys/ioctl.h>
#include <sys/select.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstring>

#include "mmsg.h"

namespace {

alignas(8) U8_t message[MMSG_K_MESSAGE_MAX];
U8_t reply[MMSG_K_MESSAGE_MAX];
U8_t transfers[1024][4];

// Bytes read.
std::size_t load(const char* path, void* buffer, std::size_t size) {
    const int fd = open(path, O_RDONLY);
    const ssize_t got = read(fd, buffer, size);
    close(fd);
    return got < 0 ? 0 : static_cast<std::size_t>(got);
}

int connectTo(const char* path) {
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    std::strncpy(address.sun_path, path, sizeof address.sun_path - 1);
    const int fd = socket(AF_UNIX, SOCK_STREAM, 0);
    return connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0 ? fd : -1;
}

void transferOne(int adapter, const U8_t (&transfer)[4]) {
    U8_t bytes[] = {transfer[1], transfer[2]};
    U8_t value = 0;
    i2c_msg read[] = {{transfer[0], 0, 1, bytes}, {transfer[0], I2C_M_RD, 1, &value}};
    i2c_msg write = {transfer[0], 0, 2, bytes};
    i2c_rdwr_ioctl_data request = {transfer[3] != 0 ? read : &write, transfer[3] != 0 ? 2u : 1u};
    ioctl(adapter, I2C_RDWR, &request);
}

void await(int link) {
    fd_set ready;
    timeval timeout;
    do {
        FD_ZERO(&ready);
        FD_SET(link, &ready);
        timeout = {1, 0};
    } while (select(link + 1, &ready, nullptr, nullptr, &timeout) == 0);
}

// False at the end of the stream.
bool take(int link) {
    MMCH_t header;
    return recv(link, &header, sizeof header, MSG_PEEK) == sizeof header &&
           recv(link, message, header.mmsg_length, 0) == header.mmsg_length;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 3) {
        return 2;
    }
    const std::size_t length = load(argv[2], reply, sizeof reply);
    const std::size_t count = argc > 3 ? load(argv[3], transfers, sizeof transfers) / 4 : 0;
    const int adapter = open("/dev/enc-0", O_RDWR);
    const int link = connectTo(argv[1]);
    for (await(link); take(link); await(link)) {
        for (std::size_t n = 0; n < count; ++n) {
            transferOne(adapter, transfers[n]);
        }
        send(link, reply, length, 0);
    }
    return 0;
}
