// SPDX-License-Identifier: Apache-2.0
// Serves an enclosure bus on a Unix socket to processes that run with the preload library, as the
// I2C adapter behind their /dev/enc-0.
#pragma once

#include <asio/io_context.hpp>
#include <asio/local/stream_protocol.hpp>
#include <cstdint>
#include <filesystem>
#include <memory>

#include "lab/bus/bus.h"
#include "lab/schedule.h"

namespace enclab {

// What the adapter can do: any I2C transfer, or only the SMBus commands.
enum class AdapterKind { kI2c, kSmbusOnly };

// What was last set with I2C_TIMEOUT and I2C_RETRIES; -1 before.
struct AdapterSettings {
    std::int64_t timeoutMs = -1;
    std::int64_t retries = -1;
};

class BusServer {
  public:
    // Listens on `socket`; a stale file there is replaced. The bus must outlive the server, and the
    // io_context must not run any more when the server goes. A transfer that the bus delays is
    // answered that much later on the schedule. Throws std::system_error.
    BusServer(asio::io_context& io, Schedule& schedule, Bus& bus, std::filesystem::path socket,
              AdapterKind kind = AdapterKind::kI2c);
    ~BusServer();
    BusServer(const BusServer&) = delete;
    BusServer& operator=(const BusServer&) = delete;

    // Takes effect with the next request of any client.
    void setKind(AdapterKind kind);
    const AdapterSettings& settings() const;
    // A delayed reply waits for its time.
    bool holdsReply() const;

  private:
    class Adapter;
    class Connection;
    void accept();

    std::filesystem::path path_;
    asio::local::stream_protocol::acceptor acceptor_;
    std::shared_ptr<Adapter> adapter_;
};

}  // namespace enclab
