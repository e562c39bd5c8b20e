// SPDX-License-Identifier: Apache-2.0
// The control socket of a running lab: a client sends one command line and gets "ok" or "error" and
// the text, each on lines of their own.
#pragma once

#include <asio/io_context.hpp>
#include <asio/local/stream_protocol.hpp>
#include <filesystem>
#include <string>

#include "lab/session/commands.h"

namespace enclab {

class ControlServer {
  public:
    // Throws std::system_error. The loop must not run any more once the server is gone.
    ControlServer(asio::io_context& io, const std::filesystem::path& socket, Commands& commands);

  private:
    class Client;
    void accept();

    asio::local::stream_protocol::acceptor acceptor_;
    Commands& commands_;
};

// The other side: sends the line to the lab at `socket`. Throws std::system_error when no lab
// listens there.
Commands::Result controlLab(const std::filesystem::path& socket, const std::string& line);

}  // namespace enclab
