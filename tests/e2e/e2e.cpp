// SPDX-License-Identifier: Apache-2.0
#include "tests/e2e/e2e.h"

#include <fmt/format.h>
#include <unistd.h>
#include <asio/buffer.hpp>
#include <asio/local/stream_protocol.hpp>
#include <asio/write.hpp>

#include <algorithm>
#include <fstream>

namespace enclab {

using Local = asio::local::stream_protocol;

// What a poll of a chassis reads once, early in it: by the chassis' first device.
constexpr struct {
    std::uint8_t address;
    std::uint8_t number;
} kReadsOfAPoll[] = {
    {0x41, 0x04},  // VSC055: redundancy
    {0x63, 0x32},  // Xyratex: first fan
    {0x2C, 0x1C},  // W83792AD: redundancy
};

static bool beginsPoll(const BusTransfer& transfer) {
    const BusMessage& first = transfer.messages.front();
    return transfer.messages.size() == 2 && transfer.messages.back().read &&
           std::ranges::any_of(kReadsOfAPoll, [&](const auto& read) {
               return first.address == read.address && first.bytes == Bytes{read.number};
           });
}

SesClient::SesClient(Lab& lab, const std::string& socketName) : lab_(lab), socket_(lab.io()) {
    socket_.connect(Local::endpoint((lab.directory().switchSockets() / socketName).string()));
    socket_.non_blocking(true);
}

void SesClient::send(const Bytes& bytes) {
    asio::write(socket_, asio::buffer(bytes));
}

std::optional<Message> SesClient::receive(std::chrono::milliseconds patience) {
    std::optional<Message> message;
    lab_.runUntil(
        [&] {
            std::array<std::uint8_t, 4096> chunk;
            asio::error_code error;
            const std::size_t count = socket_.read_some(asio::buffer(chunk), error);
            framer_.append(std::span(chunk.data(), count));
            message = framer_.next();
            return message.has_value();
        },
        patience);
    return message;
}

std::optional<Message> SesClient::request(const Message& message,
                                          std::chrono::milliseconds patience) {
    send(message.bytes());
    std::optional<Message> reply;
    do {
        reply = receive(patience);
    } while (reply && reply->header().handle != message.header().handle);
    return reply;
}

static Message command(const Bytes& block, std::uint32_t handle, std::uint8_t requestor) {
    Bytes bytes = Message::make(18, block[0], requestor, 64 + block.size()).bytes();
    std::copy(block.begin(), block.end(), bytes.begin() + 64);
    Message message(bytes);
    message.addRecipient(kDaemon);
    message.header().handle = handle;
    return message;
}

Message getPage(std::uint8_t page, std::uint16_t allocation, std::uint32_t handle,
                std::uint8_t requestor) {
    return command({28, 0x80, page, 0, static_cast<std::uint8_t>(allocation >> 8),
                    static_cast<std::uint8_t>(allocation), 0, 0},
                   handle, requestor);
}

Message putPage(const Bytes& page, std::uint32_t handle, std::uint8_t requestor) {
    Bytes block = {29,
                   0x08,
                   0,
                   0,
                   static_cast<std::uint8_t>(page.size() >> 8),
                   static_cast<std::uint8_t>(page.size()),
                   0,
                   0};
    block.insert(block.end(), page.begin(), page.end());
    return command(block, handle, requestor);
}

Bytes userData(const Message& message) {
    return Bytes(message.bytes().begin() + 64, message.bytes().end());
}

LabTest::LabTest() {
    options.directory = LabDirectory::defaultPath(fmt::format("test-{}", getpid()));
    options.speed = 50;
}

LabTest::~LabTest() {
    if (!HasFailure() || !lab_) {
        return;
    }
    fmt::print("the daemon sent:\n");
    for (const Received& received : lab_->received()) {
        fmt::print("[{:9.1f}] {}\n", received.time, describe(received.message));
    }
    fmt::print("the daemon wrote:\n");
    for (const std::string& line : lab_->daemonOutput()) {
        fmt::print("{}\n", line);
    }
}

Lab& LabTest::prepare() {
    lab_.reset();
    polls_ = 0;
    lab_ = std::make_unique<Lab>(options);
    lab_->chassis().bus().observe([this](const BusTransfer& transfer) {
        if (beginsPoll(transfer)) {
            ++polls_;
        }
    });
    return *lab_;
}

Lab& LabTest::start() {
    prepare().startDaemon();
    EXPECT_TRUE(untilLoop());
    return *lab_;
}

bool LabTest::untilLoop() {
    return lab().runUntil([this] { return timesSaid("event   enclosure bus: ") > 0; });
}

bool LabTest::pollsPass(int count) {
    const int target = polls_ + count + 1;
    return lab().runUntil([&] { return polls_ >= target; });
}

std::vector<std::string> LabTest::said() const {
    std::vector<std::string> lines;
    for (const Received& received : lab_->received()) {
        lines.push_back(describe(received.message));
    }
    return lines;
}

static int countOf(const std::vector<std::string>& lines, const std::string& text) {
    return static_cast<int>(std::ranges::count_if(
        lines, [&](const std::string& line) { return line.find(text) != line.npos; }));
}

int LabTest::timesSaid(const std::string& text) const {
    return countOf(said(), text);
}

std::vector<int> LabTest::fanLoads() const {
    std::vector<int> loads;
    for (int fan = 0; fan < lab_->chassis().fans(); ++fan) {
        loads.push_back(static_cast<int>(lab_->chassis().fanLoadPercent(fan)));
    }
    return loads;
}

std::vector<std::string> LabTest::trace() const {
    std::ifstream file(lab_->directory().log() / "esa_01.log");
    std::vector<std::string> lines;
    for (std::string line; std::getline(file, line);) {
        lines.push_back(line);
    }
    return lines;
}

int LabTest::traced(const std::string& text) const {
    return countOf(trace(), text);
}

bool LabTest::untilTraced(const std::string& text) {
    return lab().runUntil([&] { return traced(text) > 0; });
}

bool LabTest::answers() {
    SesClient client(lab());
    return client.request(getPage(1, 4000, 0xA11E)).has_value();
}

}  // namespace enclab
