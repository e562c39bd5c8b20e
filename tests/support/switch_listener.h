// SPDX-License-Identifier: Apache-2.0
// A switch the service connects to: a listening socket "esadapter" in a directory of its own, gone
// at the end.
#pragma once

#include <string>

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
    // Closes the accepted connection.
    void drop();
    int fd() const { return connection_; }

  private:
    std::string directory_;
    int listener_ = -1;
    int connection_ = -1;
};
