// SPDX-License-Identifier: Apache-2.0
// Fixture of the senders: the switch's end of the link, and a work space that still holds an older
// message.
#pragma once

#include <gtest/gtest.h>

#include <csignal>
#include <cstring>
#include <string>
#include <vector>

#include "core/esa_control.h"
#include "tests/support/hex.h"
#include "tests/support/switch_peer.h"
#include "tests/support/trace_capture.h"

class Sender : public testing::Test {
  protected:
    Sender() {
        std::signal(SIGPIPE, SIG_IGN);
        workSpaceSpoil();
    }
    static void workSpaceSpoil() {
        std::memset(esaControl.esaWorkSpace, 0xEE, sizeof esaControl.esaWorkSpace);
    }
    // The one message sent since the last call, as hexadecimal text; its links, which are an
    // address, read as 0.
    std::string sent() {
        std::vector<Bytes> messages = peer_.take();
        if (messages.size() != 1) {
            return std::to_string(messages.size()) + " messages";
        }
        std::fill_n(messages[0].begin(), 8, std::uint8_t{0});
        return hexText(messages[0]);
    }
    // Sends into a broken link: the function and message lines of the critical fault.
    template <typename Send>
    std::vector<std::string> faultOf(Send send) {
        peer_.close();
        TRACE__setTraceLevel(0, 0x0001);
        EXPECT_EQ(send(), -1);
        std::vector<std::string> named;
        for (const std::string& line : trace_.take()) {
            if (line.rfind("| Function:", 0) == 0 || line.rfind("| Message:", 0) == 0) {
                named.push_back(line);
            }
        }
        return named;
    }

  private:
    struct Cleared {
        Cleared() { esaControl = {}; }
    } cleared_;  // before the peer puts its socket there

  protected:
    TraceCapture trace_{0x0010};
    SwitchPeer peer_;
};
