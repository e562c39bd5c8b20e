// SPDX-License-Identifier: Apache-2.0
#include "tests/e2e/e2e.h"

#include <fmt/format.h>
#include <unistd.h>

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

std::optional<Message> SesClient::replyTo(std::uint32_t handle,
                                          std::chrono::milliseconds patience) {
    std::optional<Message> reply;
    do {
        reply = receive(patience);
    } while (reply && reply->header().handle != handle);
    return reply;
}

std::optional<Message> SesClient::request(const Message& message,
                                          std::chrono::milliseconds patience) {
    send(message.bytes());
    return replyTo(message.header().handle, patience);
}

Message getPage(std::uint8_t page, std::uint16_t allocation, std::uint32_t handle,
                std::uint8_t requestor) {
    Bytes bytes = Message::make(18, 28, requestor, 72).bytes();
    bytes[64] = 28;
    bytes[65] = 0x80;
    bytes[66] = page;
    bytes[68] = static_cast<std::uint8_t>(allocation >> 8);
    bytes[69] = static_cast<std::uint8_t>(allocation);
    Message message(bytes);
    message.addRecipient(kDaemon);
    message.header().handle = handle;
    return message;
}

Message putPage(const Bytes& page, std::uint32_t handle, std::uint8_t requestor) {
    Bytes bytes = Message::make(18, 29, requestor, 72 + page.size()).bytes();
    bytes[64] = 29;
    bytes[65] = 0x08;
    bytes[68] = static_cast<std::uint8_t>(page.size() >> 8);
    bytes[69] = static_cast<std::uint8_t>(page.size());
    std::copy(page.begin(), page.end(), bytes.begin() + 72);
    Message message(bytes);
    message.addRecipient(kDaemon);
    message.header().handle = handle;
    return message;
}

Bytes userData(const Message& message) {
    return Bytes(message.bytes().begin() + 64, message.bytes().end());
}

LabTest::LabTest() {
    options.directory = LabDirectory::defaultPath(fmt::format("test-{}", getpid()));
    options.speed = 20;
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
    polls_ = 0;
    return *lab_;
}

bool LabTest::untilLoop() {
    return lab().runUntil([this] { return informationEvents(2) > 0; });
}

std::vector<EsaEvent_t> LabTest::events(std::uint16_t id) const {
    std::vector<EsaEvent_t> found;
    for (const Received& received : lab_->received()) {
        const EsaEvent_t* event = received.message.event();
        if (event != nullptr && event->header.evId == id) {
            found.push_back(*event);
        }
    }
    return found;
}

int LabTest::informationEvents(std::uint32_t information) const {
    int count = 0;
    for (const EsaEvent_t& event : events(ESA_E_ID_ES_ADAPTERMP_INFORMATION)) {
        count += event.data.information == information ? 1 : 0;
    }
    return count;
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
    int count = 0;
    for (const std::string& line : trace()) {
        count += line.find(text) != line.npos ? 1 : 0;
    }
    return count;
}

bool LabTest::untilTraced(const std::string& text) {
    return lab().runUntil([&] { return traced(text) > 0; });
}

bool LabTest::answers() {
    SesClient client(lab());
    return client.request(getPage(1, 4000, 0xA11E)).has_value();
}

}  // namespace enclab
