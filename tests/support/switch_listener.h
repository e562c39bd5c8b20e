// SPDX-License-Identifier: Apache-2.0
// A switch the service connects to: a listening socket "esadapter" in a directory of its own, gone
// at the end.
#pragma once

#include <string>
#include <vector>

#include "tests/support/switch_peer.h"

class SwitchListener {
  public:
    SwitchListener();
    ~SwitchListener();
    SwitchListener(const SwitchListener&) = delete;
    SwitchListener& operator=(const SwitchListener&) = delete;

    // The directory to be given as the message directory. Nobody listens there before open().
    const std::string& directory() const { return directory_; }
    void open();
    // Takes a connection that has been made; false when there is none.
    bool accept();
    // Messages that came over the accepted connection since the last call.
    std::vector<Bytes> take() { return takeMessages(connection_, pending_); }
    void send(const Bytes& bytes);
    // Closes the accepted connection.
    void drop();

  private:
    std::string directory_;
    int listener_ = -1;
    int connection_ = -1;
    Bytes pending_;
};
