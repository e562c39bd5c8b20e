// SPDX-License-Identifier: Apache-2.0
// The link to the switch against two models: what a pass takes off the stream, whatever comes when
// and whatever fails; and when the link is up, what of a message's fate is said.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <optional>
#include <regex>
#include <set>

#include "esa_evl.h"
#include "link/esa_mmsg.h"
#include "link/esa_receive.h"
#include "mpu_gbl.h"
#include "state/esa_control.h"
#include "tests/support/fake_alt_event_log.h"
#include "tests/support/fake_system_calls.h"
#include "tests/support/laws.h"
#include "tests/support/switch_listener.h"
#include "tests/support/trace_capture.h"

namespace {

// After these the link is not at its end.
bool passes(int error) {
    return error == EINTR || error == EAGAIN || error == ENOBUFS || error == ENOMEM;
}

const std::string LINK_IS_DOWN = "The link to MSM on socket [N] is down.";

class Link : public testing::Test {
  protected:
    Link() {
        std::signal(SIGPIPE, SIG_IGN);
        systemCalls = {};
        esaControl = {};
        esaControl.socketFdMSM = -1;
        wireTextSet(params.mmsgDirectory, listener.directory().c_str());
        pMpuParams = &params;
        listener.open();
    }
    ~Link() override {
        esaLinkDown();
        pMpuParams = nullptr;
    }
    // Faults, then trace lines; a dump's rows are dots behind its title, a socket is N.
    Lines said() {
        static const std::regex number("socket \\[[0-9]+");
        Lines lines = takeFaults();
        for (const std::string& line : trace.take()) {
            if (line.starts_with("0x")) {
                lines.back() += ".";
            } else {
                const auto text = line.substr(line.find_first_not_of(' ', line.find(": ") + 1));
                lines.push_back(std::regex_replace(text, number, "socket [N"));
            }
        }
        return lines;
    }

    MPU_PARAMS_t params = {};
    SwitchListener listener;
    TraceCapture trace{0x4010};
    Random random{24};
};

// ---- what is received ----

// Of a pass with five short waits. Before the first and in each of them something may come.
struct Stream {
    std::string buffer = std::string(4064, '\0');
    bool isDown = true;
    std::deque<std::optional<std::string>> coming = {};  // or the stream's end
    std::deque<int> errors = {};                         // of the next receives, 0: none
    std::string come = {}, header = {};                  // and not yet taken; seen whole
    std::size_t taken = 0;                               // of the message being read
    bool ended = false;
    int steps = 0;
    Lines faults = {}, traced = {};

    // True when a message stands in the buffer.
    bool pass() {
        steps = 5;
        arrive();
        return (!header.empty() || peek()) && read();
    }

  private:
    std::size_t length() const {
        return std::max<std::size_t>(be16At({header.begin(), header.end()}, 10), 64);
    }
    void arrive() {
        come += coming.at(0).value_or("");
        ended = !coming.at(0);
        coming.pop_front();
    }
    bool wait() {
        if (steps-- > 0) {
            arrive();
        }
        return steps >= 0;
    }
    int receiveError() {
        const int next = errors.at(0);
        errors.pop_front();
        return next != 0 ? next : come.empty() && !ended ? EAGAIN : 0;
    }
    // Of a receive that failed, or gave `got` bytes of a stream that has ended. True when only a
    // signal came in between.
    bool failed(const std::string& what, const std::string& dump, int error, std::size_t got) {
        faults.push_back(text("main(): Linux recv function fails, ", what, " readSize = [",
                              (error != 0 ? "-1" : text(got)), "] is wrong"));
        traced.push_back(dump);
        isDown = !passes(error);
        if (isDown) {
            traced.push_back(LINK_IS_DOWN);
        }
        return error == EINTR;
    }
    bool peek() {
        for (bool endSeen = false;;) {
            const int error = receiveError();
            if (error == 0 && come.size() >= 64) {
                header = come.substr(0, 64);
                return true;
            }
            const bool part = error == 0 && !come.empty() && !endSeen;
            if ((!part && !failed("MSG_PEEK", "tmpMMCH  =..", error, come.size())) ||
                (part ? !wait() : steps-- == 0)) {
                return false;
            }
            endSeen = part && ended;
        }
    }
    // Each piece to the buffer's start, behind the first nothing of an older message; what no
    // buffer holds is thrown away.
    void take() {
        const std::size_t end = taken < 4064 ? std::min<std::size_t>(length(), 4064) : length();
        const std::size_t size = std::min({come.size(), end - taken, std::size_t{4064}});
        if (taken == 0 && size < end) {
            buffer.assign(4064, '\0');
        }
        if (taken < 4064) {
            buffer.replace(0, size, come, 0, size);
        }
        taken += size;
        come.erase(0, size);
    }
    bool read() {
        for (;;) {
            const int error = receiveError();
            if (error == 0 && !come.empty()) {
                take();
            } else if (!failed("mmsg_length", "esaMMSG =" + std::string(127, '.'), error, 0)) {
                return false;
            }
            if (taken == length()) {
                break;
            }
            do {
                if (!wait()) {
                    return false;
                }
            } while (come.empty() && !ended);
        }
        // The dispatcher rejects what is too long, by its header.
        buffer.replace(0, length() > 4064 ? 64 : 0, header, 0, length() > 4064 ? 64 : 0);
        header.clear();
        taken = 0;
        return true;
    }
};

// Messages back to back, cut anywhere; failures and ends anywhere.
TEST_F(Link, APassTakesWhatTheRulesSayOffAnyStream) {
    std::ranges::fill(esaControl.esaWorkSpace, U8_t{0xEE});
    systemCalls.nextSocket = -1;
    EXPECT_FALSE(esaLinkOpen());
    Stream stream;
    std::string unsent;
    const auto piece = [&] {
        while (unsent.size() < 300) {
            const std::size_t most = random.onceIn(20) ? 65535 : 64 + random.below(200),
                              length =
                                  random.of<std::size_t>({most, most, 0, 63, 64, 65, 4064, 4065});
            Bytes message = random.bytes(std::max<std::size_t>(length, 64));
            message[10] = static_cast<U8_t>(length >> 8);
            message[11] = static_cast<U8_t>(length);
            unsent.append(message.begin(), message.end());
        }
        const std::size_t some = random.below(150),
                          size = random.of<std::size_t>(
                              {0, 0, 0, 0, 0, 0, 0, 0, some, some, 1, 63, 64, 65, 5000, 20000});
        const std::string cut = unsent.substr(0, stream.come.size() > 50000 ? 0 : size);
        unsent.erase(0, cut.size());
        return cut;
    };
    for (int round = 0; round < 2000; ++round) {
        SCOPED_TRACE(round);
        if (stream.isDown) {
            for (int pass = 0; pass < 10; ++pass) {
                esaLinkPass();
            }
            ASSERT_TRUE(listener.accept());
            stream = {.buffer = stream.buffer, .isDown = false};
            unsent.clear();
            said();
        }
        const bool fails = random.onceIn(6);
        stream.errors.resize(20);
        std::ranges::generate(stream.errors, [&] {
            return !fails
                       ? 0
                       : random.of({0, 0, 0, 0, EINTR, EINTR, EAGAIN, ENOBUFS, ENOMEM, ECONNRESET});
        });
        systemCalls = {};
        systemCalls.receiveErrors = stream.errors;
        systemCalls.onPoll = [&, ended = stream.ended]() mutable {
            ended = ended || random.onceIn(80);
            stream.coming.push_back(ended ? std::nullopt : std::optional(piece()));
            const std::string next = stream.coming.back().value_or("");
            ended ? listener.drop() : listener.send({next.begin(), next.end()});
        };
        systemCalls.onPoll();

        const bool received = esaMmsgReceive(50);
        ASSERT_EQ(received, stream.pass());
        Lines lines = std::exchange(stream.faults, {});
        std::ranges::move(std::exchange(stream.traced, {}), std::back_inserter(lines));
        ASSERT_EQ(said(), lines);
        ASSERT_TRUE(std::equal(stream.buffer.begin(), stream.buffer.end(),
                               reinterpret_cast<const char*>(esaControl.esaInMsg)));
        ASSERT_TRUE(stream.coming.empty()) << "more waits";
        ASSERT_EQ(systemCalls.receiveErrors, stream.errors) << "more or fewer receives";
        ASSERT_EQ(esaLinkIsUp(), !stream.isDown);
    }
    EXPECT_EQ(std::ranges::count(esaControl.esaWorkSpace, 0xEE), 4064);
}

// ---- up and down, and sending ----

// Carries operations out, beside what there is to be known of the link.
class LinkHistory : public Link {
  protected:
    void open() {
        esaLinkDown();
        said();
        state = DOWN;
        lost.clear();
        waitedInVain = false;
        attempt(1000000);
        if (state != UP) {
            expected = {systemCalls.nextSocket != 0
                            ? "esaInit(): Linux socket function fails for ESA socket!"
                            : "esaInit(): Linux connect function fails for MSM/ESA socket!"};
        }
        if (state == DOWN && systemCalls.nextSocket >= 0) {
            expected.push_back(LINK_IS_DOWN);
        }
        EXPECT_EQ(esaLinkOpen(), state == UP);
        EXPECT_TRUE(state != UP || listener.accept());
    }
    // What is lost waits for hardly more than the pass: in each while the switch is short of room,
    // else in every tenth.
    void pass() {
        waitedInVain = false;
        const bool due = state == CONNECTING || (state == DOWN && ++passesDown == 10);
        if (due) {
            attempt(1);
        }
        const bool comesUp = due && state == UP;
        EXPECT_EQ(esaLinkPass(), comesUp);
        EXPECT_TRUE(!comesUp || listener.accept());
        expected.assign(comesUp ? 1 : 0, "The link to MSM is up again with socket [N].");
    }
    void down() {
        if (state != DOWN) {
            expected.push_back(LINK_IS_DOWN);
            state = DOWN;
            passesDown = 0;
            lost.clear();
        }
    }
    // Events are told apart by their id, other messages by their type; what has no bit is one kind.
    void send() {
        const int protocol = random.of({8, 12, 13, 18}),
                  number = random.of({1, 7, 8, 14, 16, 30, 31, 40}),
                  type = protocol == 8 ? 1 : number, size = random.of({64, 360});
        const std::pair kind(protocol, std::min(number, 31));
        esaMmsgHeaderInit(message, static_cast<MMSG_PROTOCOL>(protocol), static_cast<U32_t>(type),
                          static_cast<U32_t>(size));
        wireView<EsaEvent_t>(message + 1)->header.evId = static_cast<U16_t>(number);
        const std::string fault =
            text("sender(): Linux send function fails, sendSize = [", size, "] is wrong");
        int result = -1;
        systemCalls.sendFlags = -1;
        const int flags = state != UP ? -1 : waitedInVain ? MSG_DONTWAIT : 0;
        if (state == UP) {
            const int error = script(&systemCalls.sendErrors,
                                     {0, 0, 0, EAGAIN, ENOBUFS, ENOMEM, EPIPE, EBADF, -10});
            result = error == 0 ? size : error < 0 ? -error : -1;
            waitedInVain = waitedInVain || error == EAGAIN;
            expected.assign(error == 0 ? 0 : 1, fault);
            if (error < 0 || (error > 0 && !passes(error))) {
                down();
                lost = {kind};  // it has been reported
            }
        } else {
            expected = {lost.insert(kind).second
                            ? fault
                            : text("MMSG with opcode [0x", std::hex, protocol << 24 | type,
                                   "] is not sent, the link to MSM is down.")};
        }
        EXPECT_EQ(esaMmsgSend({"sender", "sender()", 1}), result);
        EXPECT_EQ(systemCalls.sendFlags, flags);
        const Bytes whole(esaControl.esaWorkSpace, esaControl.esaWorkSpace + size);
        EXPECT_EQ(listener.take(), std::vector<Bytes>(result == size ? 1 : 0, whole));
    }
    // Every call that was to be made was made, and a link that is down has no descriptor.
    void check() {
        EXPECT_EQ(said(), std::exchange(expected, {}));
        EXPECT_EQ(esaLinkIsUp(), state == UP);
        EXPECT_EQ(esaControl.socketFdMSM >= 0, state != DOWN);
        EXPECT_TRUE(state != UP || waitOf(esaControl.socketFdMSM) == 1000000);
        EXPECT_TRUE(systemCalls.connectErrors.empty() && systemCalls.sendErrors.empty());
        EXPECT_EQ(systemCalls.nextSocket, 0);
        EXPECT_TRUE(state != DOWN || descriptor < 0 || fcntl(descriptor, F_GETFD) == -1);
        descriptor = esaControl.socketFdMSM;
    }

    enum { DOWN, CONNECTING, UP } state = DOWN;
    int passesDown = 0, descriptor = -1;
    bool waitedInVain = false;           // a send of this pass
    std::set<std::pair<int, int>> lost;  // kinds of message, since the link went down
    Lines expected;
    MMCH_t* const message = wireView<MMCH_t>(esaControl.esaWorkSpace);

  private:
    // What a call waits at most, in microseconds.
    static long waitOf(int socket) {
        long wait[2];
        socklen_t size = sizeof wait;
        getsockopt(socket, SOL_SOCKET, SO_SNDTIMEO_OLD, wait, &size);
        return 1000000 * wait[0] + wait[1];
    }
    // How the next calls fail: interrupted or not, then as one of `ends`.
    int script(std::deque<int>* errors, std::initializer_list<int> ends) {
        errors->assign(random.below(3), EINTR);
        errors->push_back(random.of(ends));
        return errors->back();
    }
    // The kernel rounds a wait up to its own clock's next tick; 0 would be without end.
    void attempt(long wait) {
        passesDown = 0;
        systemCalls.onConnect = [=](int fd) {
            EXPECT_TRUE(waitOf(fd) > 0 && waitOf(fd) / 100000 == wait / 100000);
        };
        systemCalls.nextSocket = state == CONNECTING ? 0 : random.of({0, 0, 0, -1, 1024, 5000});
        if (systemCalls.nextSocket == 0) {
            const int error =
                script(&systemCalls.connectErrors, {0, 0, EAGAIN, ENOBUFS, ENOMEM, ECONNREFUSED});
            state = error == 0 ? UP : passes(error) ? CONNECTING : DOWN;
        }
    }
};

TEST_F(LinkHistory, OfTheLinkAndOfWhatIsLostIsKnownWhatTheRulesSay) {
    for (int round = 0; round < 8000 && !HasFailure(); ++round) {
        SCOPED_TRACE(round);
        const std::size_t what = round % 50 == 0 ? 0 : 1 + random.below(20);
        if (what == 0) {
            open();
        } else if (what == 1) {
            down();
            esaLinkDown();
        } else {
            (state == UP ? !random.onceIn(5) : what < 8) ? send() : pass();
        }
        check();
    }
}

// ... of at most 97 characters, whatever stands behind it in the area.
TEST_F(Link, ADirectoryThatFitsTheAddressIsConnectedTo) {
    const std::string path = listener.directory();
    for (const std::size_t length : {path.size(), std::size_t{97}, std::size_t{98}}) {
        std::string(128, 'x').copy(params.mmsgDirectory, 128);
        (std::string(length - path.size(), '/') + path + '\0').copy(params.mmsgDirectory, 128);
        systemCalls.connects = 0;
        EXPECT_EQ(esaLinkOpen(), length < 98) << length;
        EXPECT_EQ(systemCalls.connects, length < 98 ? 1 : 0) << length;
        esaLinkDown();
    }
}

}  // namespace
