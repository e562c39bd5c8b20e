// SPDX-License-Identifier: Apache-2.0
// The peers, as scripts/describe.txt and scripts/peers.txt type them: what messages are described
// by, and the switch, the start-up process and the link to the daemon on real sockets and a
// schedule that moves by hand.
#include <fmt/format.h>
#include <fmt/ranges.h>
#include <gtest/gtest.h>

#include <asio/buffer.hpp>
#include <asio/io_context.hpp>
#include <asio/local/stream_protocol.hpp>
#include <asio/read.hpp>
#include <asio/write.hpp>
#include <filesystem>
#include <map>

#include "lab/peers/daemon_link.h"
#include "lab/peers/event_manager.h"
#include "lab/peers/startup_process.h"
#include "tests/support/hex.h"
#include "tests/support/script.h"

namespace enclab {
namespace {

using Socket = asio::local::stream_protocol::socket;

// A message as describe.txt types it.
Message typed(std::span<const std::string> words) {
    const bool isEvent = words[0] == "event";
    const std::size_t length = isEvent ? 360 : std::stoul(words[0]);
    Bytes bytes(length);
    const auto put = [&bytes](std::size_t at, const Bytes& piece) {
        std::copy(piece.begin(), piece.end(), bytes.begin() + static_cast<std::ptrdiff_t>(at));
    };
    put(8, hexBytes("0E01 0000 00000000 21"));
    put(10, {static_cast<std::uint8_t>(length >> 8), static_cast<std::uint8_t>(length)});
    if (isEvent) {
        put(12, hexBytes("08000001 21000000 08000000"));
        put(211, {static_cast<std::uint8_t>(std::stoi(words[2])), 3, 1, 0,
                  static_cast<std::uint8_t>(std::stoi(words[1]))});
    }
    for (std::size_t n = isEvent ? 3 : 1; n < words.size(); ++n) {
        put(std::stoul(words[n]) + (isEvent ? 216 : 0),
            hexBytes(words[n].substr(words[n].find(':') + 1)));
    }
    return Message(bytes);
}

// A record may claim anything; a line comes out for every command, page and length.
TEST(Describe, SurvivesEveryLengthAndByteValue) {
    for (const std::uint8_t protocol : Bytes{8, 12, 13, 18}) {
        for (std::size_t length = 64; length < 100; ++length) {
            for (int value = 0; value < 256; value += 5) {
                Bytes bytes(length, static_cast<std::uint8_t>(value));
                bytes[12] = protocol;
                EXPECT_FALSE(describe(Message(bytes)).empty());
            }
        }
    }
}

TEST(Framer, CutsMessagesWhereverTheStreamIsSplit) {
    const Bytes second = typed(Words("72 71:AB").all).bytes();
    Bytes stream = typed(Words("64 40:01020304").all).bytes();
    stream.insert(stream.end(), second.begin(), second.end());
    for (std::size_t split = 0; split <= stream.size(); ++split) {
        Framer framer;
        std::vector<Bytes> messages;
        for (const auto& part :
             {std::span(stream).first(split), std::span(stream).subspan(split)}) {
            framer.append(part);
            while (auto message = framer.next()) {
                messages.push_back(message->bytes());
            }
        }
        ASSERT_EQ(messages.size(), 2u) << "split at " << split;
        EXPECT_EQ(messages[0].size(), 64u);
        EXPECT_EQ(messages[1], second);
    }
}

TEST(Framer, StopsAtALengthNoMessageHas) {
    for (const char* const bad : {"64 10:0000", "64 10:003F", "64 10:0FE1", "64 10:FFFF"}) {
        Framer framer;
        framer.append(typed(Words("64").all).bytes());
        framer.append(typed(Words(bad).all).bytes());
        framer.append(typed(Words("64").all).bytes());
        EXPECT_TRUE(framer.next().has_value());
        EXPECT_FALSE(framer.next().has_value());
        EXPECT_TRUE(framer.broken()) << bad;
    }
}

class HandSchedule : public Schedule {
  public:
    double now() const override { return static_cast<double>(now_) / 1000; }
    void after(Seconds wait, std::function<void()> action) override {
        due_.emplace(now_ + std::llround(wait.count() * 1000), std::move(action));
    }
    void passMillisecond() {
        ++now_;
        doDue();
    }
    void doDue() {
        while (!due_.empty() && due_.begin()->first <= now_) {
            due_.extract(due_.begin()).mapped()();
        }
    }

  private:
    long long now_ = 0;
    std::multimap<long long, std::function<void()>> due_;
};

class PeersPlayer : public Player {
  public:
    PeersPlayer() {
        std::filesystem::create_directories(directory_);
        switch_.listen(33, "daemon");
        switch_.listen(26, "environ");
        switch_.listen(20, "volmgr");
        startup_.onPowerOff([this] { say("power off"); });
        connect("daemon", "daemon");
        switchCommands();
        linkCommands();
        peerCommands();
    }
    ~PeersPlayer() override { std::filesystem::remove_all(directory_); }

  private:
    void switchCommands() {
        commands["describe"] = [this](const Words& w) { say(describe(typedFrom(w, 1))); };
        commands["connect"] = [this](const Words& w) { connect(w[1], w[2]); };
        commands["write"] = [this](const Words& w) { write(w[1], typedFrom(w, 2).bytes()); };
        commands["part"] = [this](const Words& w) {
            Bytes bytes = typedFrom(w, 3).bytes();
            bytes.resize(w.u32(2));
            write(w[1], bytes);
        };
        commands["raw"] = [this](const Words& w) { write(w[1], hexBytes(w[2])); };
        commands["many"] = [this](const Words& w) { many(w.number(1), typedFrom(w, 2).bytes()); };
        commands["read"] = [this](const Words& w) { say(readOf(w[1])); };
        commands["leave"] = [this](const Words& w) { sockets_.erase(w[1]); };
        commands["switch"] = [this](const Words&) {
            say(switch_.undelivered(), " undelivered, ", switch_.brokenStreams(), " broken, ",
                switch_.connections(26), " of environ");
        };
        commands["stop"] = [this](const Words&) { switch_.stopReading(33); };
        commands["resume"] = [this](const Words&) { switch_.resumeReading(33); };
        commands["close"] = [this](const Words&) { switch_.close(33); };
        commands["open"] = [this](const Words&) { switch_.open(33); };
        commands["fill"] = [this](const Words&) { say(filled()); };
    }
    void linkCommands() {
        commands["delay"] = [this](const Words& w) { link_.delay(milliseconds(w.number(1))); };
        commands["split"] = [this](const Words& w) {
            link_.split(static_cast<std::size_t>(w.number(1)), milliseconds(w.number(2)));
        };
        commands["glue"] = [this](const Words& w) { link_.glue(w.u32(1)); };
        commands["plain"] = [this](const Words&) { link_.plain(); };
        commands["die"] = [this](const Words& w) { link_.dieAfter(w.u32(1)); };
        commands["flood"] = [this](const Words& w) {
            w.number(2) == 0 ? link_.flood(w.u32(1))
                             : link_.flood(w.number(1), milliseconds(w.number(2)));
        };
        commands["link"] = [this](const Words&) { say(link_.describe()); };
        commands["send"] = [this](const Words& w) {
            switch_.route(26, Message(message(18, 28, 33, w.u32(1))));
        };
        commands["arrivals"] = [this](const Words&) { say(arrivals()); };
        commands["bytes"] = [this](const Words& w) {
            say(fmt::format("{:02x}", fmt::join(take("daemon"), "")).substr(w.u32(1)));
            ;
        };
    }
    void peerCommands() {
        commands["startup"] = [this](const Words& w) {
            startup_.setAnswer(static_cast<StartupAnswer>(w.number(1)));
        };
        commands["shutdown"] = [this](const Words& w) {
            startup_.setShutdown(static_cast<ShutdownWay>(w.number(1)));
        };
        commands["ask"] = [this](const Words& w) { ask(w); };
        commands["noted"] = [this](const Words&) {
            say("LED ", startup_.compositeLedLit() ? "lit" : "off", ", ", startup_.ledRequests(),
                " requests, ", startup_.shutdownRequests(), " shutdowns");
            say(startup_.mailbox());
        };
        commands["event"] = [this](const Words& w) {
            Bytes event = message(8, 1, 27, 360);
            event[211] = 2;
            event[215] = w.u8(1);
            write("daemon", event);
        };
        commands["events"] = [this](const Words& w) {
            say(events_.list());
            say(events_.count(w.u16(1)), " of id ", w.u16(1));
        };
    }

    static DaemonLink::Seconds milliseconds(int count) { return DaemonLink::Seconds(count) / 1000; }
    static Message typedFrom(const Words& w, std::size_t n) {
        return typed(std::span(w.all).subspan(n));
    }
    // From the daemon to a peer, or from a client to the daemon.
    static Bytes message(std::uint8_t protocol, std::uint8_t type, std::uint8_t to,
                         std::size_t length = 64) {
        Message made = Message::make(protocol, type, to == 33 ? 26 : 33, length);
        made.addRecipient(to);
        return made.bytes();
    }
    void connect(const std::string& who, const std::string& port) {
        Socket& socket = sockets_.insert_or_assign(who, Socket(io_)).first->second;
        socket.connect((directory_ / port).string());
        settle();
    }
    void settle() {
        do {
            io_.restart();
        } while (io_.poll() > 0);
    }
    void write(const std::string& who, const Bytes& bytes) {
        asio::write(sockets_.at(who), asio::buffer(bytes));
        settle();
    }
    Bytes take(const std::string& who) {
        settle();
        Bytes bytes(sockets_.at(who).available());
        asio::read(sockets_.at(who), asio::buffer(bytes));
        return bytes;
    }
    Lines readOf(const std::string& who) {
        const Bytes bytes = take(who);
        std::array<char, 1> byte;
        asio::error_code error;
        sockets_.at(who).non_blocking(true);
        sockets_.at(who).read_some(asio::buffer(byte), error);
        Lines lines = hexRows(bytes);
        lines.push_back(error == asio::error::eof ? "closed"
                                                  : fmt::format("{} bytes", bytes.size()));
        return lines;
    }
    // The same from the daemon many times: what each gets that is not deaf.
    void many(int times, const Bytes& bytes) {
        std::map<std::string, std::size_t> counts;
        while (times-- > 0) {
            write("daemon", bytes);
            for (const auto& [who, socket] : sockets_) {
                counts[who] += who == "deaf" ? 0 : take(who).size();
            }
        }
        say(fmt::format("{}", counts));
    }
    // How it ends when the daemon writes on and on.
    std::string filled() {
        asio::error_code error;
        sockets_.at("daemon").non_blocking(true);
        for (int n = 0; n < 100 && !error; ++n) {
            asio::write(sockets_.at("daemon"), asio::buffer(Bytes(1 << 16)), error);
            settle();
        }
        return error.message();
    }
    // "at:bytes" for each of 300 ms with any.
    std::string arrivals() {
        std::string text;
        for (int ms = 0; ms < 300; ++ms) {
            schedule_.doDue();
            const std::size_t size = take("daemon").size();
            text += size > 0 ? fmt::format("{}{}:{}", text.empty() ? "" : " ", ms, size) : "";
            schedule_.passMillisecond();
        }
        return switch_.connections(33) == 0 ? text + " closed" : text.empty() ? "nothing" : text;
    }
    void ask(const Words& words) {
        Bytes request = message(words.u8(2), words.u8(3), words.u8(1));
        request[47] = words.u8(4);
        request[51] = words.u8(5);
        write("daemon", request);
        schedule_.doDue();
        const Bytes answer = take("daemon");
        say(answer.empty() ? "no answer" : fmt::format("answer {}", answer.at(39)));
    }

    asio::io_context io_;
    HandSchedule schedule_;
    std::filesystem::path directory_ =
        std::filesystem::temp_directory_path() / fmt::format("peers-{}", getpid());
    MessageSwitch switch_{io_, directory_};
    DaemonLink link_{switch_, schedule_};
    StartupProcess startup_{switch_, schedule_};
    EventManager events_{switch_, schedule_};
    std::map<std::string, Socket> sockets_;
};

TEST(Peers, SayAndDoWhatTheyAreTold) {
    scriptPlay<PeersPlayer>(SCRIPTS "/describe.txt");
    scriptPlay<PeersPlayer>(SCRIPTS "/peers.txt");
}

}  // namespace
}  // namespace enclab
