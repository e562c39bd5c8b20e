// SPDX-License-Identifier: Apache-2.0
// sesctl against a message switch of the test's own: sesctl.txt has its tables, what it sends and
// what goes wrong.
#include <fmt/format.h>
#include <fmt/ranges.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <thread>

#include "tests/support/hex.h"
#include "tests/unit/tools/tools.h"
#include "tools/sesctl/render.h"

namespace {

// Both pages of an enclosure with two of everything, all in good order.
const Bytes PAGES[] = {
    hexBytes("01000040 00000009 20000524 0000000000000000 41034D4520202020"
             "00426F78000000000000000000000000 312E3032 01020000 02020000 03020000 04020000 "
             "06020000"),
    hexBytes("02000040 00000009 00000000 01000000 01010000 00000000 01000001 01000001 00000000 "
             "0100E1E0 0100E1E0 00000000 01003200 01003200 00000000 01000000 01000000")};

// What is behind a request's header for the reply; pieces of it come one by one.
using Answer = std::function<std::vector<Bytes>(const Bytes& request)>;

// Answers one client on the socket mmsg/environ of this directory; what came, when it is gone.
std::vector<Bytes> serve(int listener, const Answer& answer) {
    std::vector<Bytes> requests;
    const int fd = accept(listener, nullptr, nullptr);
    bool goesOn = true;
    for (Bytes header(64); goesOn && recv(fd, header.data(), 64, MSG_WAITALL) == 64;) {
        Bytes& request = requests.emplace_back(header);
        request.resize(std::size_t{header[10]} * 256 + header[11]);
        recv(fd, request.data() + 64, request.size() - 64, MSG_WAITALL);
        const std::vector<Bytes> pieces = answer(request);
        for (const Bytes& piece : pieces) {
            send(fd, piece.data(), piece.size(), MSG_NOSIGNAL);
            usleep(1000);  // so that they arrive as pieces
        }
        goesOn = !pieces.empty();
    }
    close(fd);
    return requests;
}

Bytes replyTo(const Bytes& request, const Bytes& body) {
    Bytes reply = hexBytes("00000000 00000000 0E010000 00000000 21401A00 04000000");
    reply.resize(64);
    std::copy_n(request.begin() + 12, 4, reply.begin() + 12);  // opcode
    std::copy_n(request.begin() + 40, 4, reply.begin() + 40);  // handle
    reply.insert(reply.end(), body.begin(), body.end());
    reply[11] = static_cast<Byte>(reply.size());
    return reply;
}

// The service's: status 0, and the page without its last byte.
Bytes served(const Bytes& request) {
    if (request[15] == 29) {
        return replyTo(request, Bytes(4));
    }
    Bytes body = PAGES[request.at(66) - 1];
    body.insert(body.begin(), 0);
    body.pop_back();
    return replyTo(request, body);
}

// What CHANGES of the pages and replies are made of:
//   1:57=03 2:3=80  bytes of the configuration and of the status page
//   15=01           a byte of each reply
//   body= control=  what stands behind the header of replies, to control pages and to others
//   size=70         of each reply
//   replies=4       then the switch hangs up
class SesctlPlayer : public ToolPlayer {
  public:
    SesctlPlayer() {
        std::filesystem::create_directory("mmsg");
        // with CHANGES | LINE...: the line against a switch with other pages or replies
        commands["with"] = [this](const Words& words) { playAll(words.from(1)); };
        // sends CHANGES | LINE...: the bytes from 80 on that are not 0 of what was sent last
        commands["sends"] = [this](const Words& words) {
            const Lines parts = split(words.from(1));
            for (std::size_t n = 1; n < parts.size(); n++) {
                playAll(parts[0] + "|" + parts[n]);
                const Bytes& request = requests_.back();
                std::string line;
                for (std::size_t at = 80; at < request.size(); at++) {
                    line += request[at] != 0 ? fmt::format("{}={:02X} ", at, request[at]) : "";
                }
                say(squeezed(line));
            }
        };
        // each LINE | CHANGES...
        commands["each"] = [this](const Words& words) {
            const Lines parts = split(words.from(1));
            for (std::size_t n = 1; n < parts.size(); n++) {
                playAll(parts[n] + "|" + parts[0]);
            }
        };
        commands["environment"] = [](const Words& words) {
            setenv("ESA_MMSG_DIR", words[1].c_str(), 1);
        };
    }
    ~SesctlPlayer() override { unsetenv("ESA_MMSG_DIR"); }

  private:
    static Lines split(const std::string& text) {
        Lines parts;
        std::istringstream stream(text);
        for (std::string part; std::getline(stream, part, '|');) {
            parts.push_back(squeezed(part));
        }
        return parts;
    }
    // CHANGES | LINE
    void playAll(const std::string& text) {
        const Lines parts = split(text);
        changes_ = Words(parts[0]).all;
        play(parts[1] + (parts[1].find("--timeout") == parts[1].npos ? " --timeout 600" : ""));
    }
    void play(const std::string& line) {
        sockaddr_un address = {AF_UNIX, "mmsg/environ"};
        std::filesystem::remove(address.sun_path);
        const int listener = socket(AF_UNIX, SOCK_STREAM, 0);
        bind(listener, reinterpret_cast<const sockaddr*>(&address), sizeof address);
        listen(listener, 1);
        int replies = 0;
        std::thread peer([&] {
            requests_ =
                serve(listener, [&](const Bytes& request) { return answer(request, replies++); });
        });
        tell(told("sesctl " + line + " --dir .", isFull_));
        shutdown(listener, SHUT_RDWR);  // wakes an accept nobody connects to
        peer.join();
        close(listener);
    }
    // Behind one to somebody else, and cut in two.
    std::vector<Bytes> answer(const Bytes& request, int replies) const {
        Bytes reply = served(request);
        for (const std::string& change : changes_) {
            const std::string name = change.substr(0, change.find('=')),
                              value = change.substr(name.size() + 1);
            if (name == "replies" && replies >= std::stoi(value)) {
                return {};
            }
            if (name == (request[15] == 29 ? "control" : "body")) {
                reply = replyTo(request, hexBytes(value));
            } else if (name == "size") {
                reply.resize(std::stoul(value));
            } else if (name[1] == ':' && name[0] - '0' == request[66] && request[15] == 28) {
                std::ranges::copy(hexBytes(value), &reply.at(65 + std::stoul(name.substr(2))));
            } else if (name.find_first_not_of("0123456789") == name.npos) {
                reply.at(std::stoul(name)) = hexBytes(value)[0];
            }
        }
        Bytes other = served(request);
        other[40] ^= 0x01;
        other.insert(other.end(), reply.begin(), reply.begin() + std::ssize(reply) / 2);
        return {other, {reply.begin() + std::ssize(reply) / 2, reply.end()}};
    }
    Lines changes_;
    std::vector<Bytes> requests_;
};

Json statusOf(const Bytes& page) {
    return Json::parse(
        sesctl::statusJson(sesctl::decodeStatus(page, sesctl::decodeConfiguration(PAGES[0]))));
}

}  // namespace

TEST(Sesctl, AnswersAsTyped) {
    scriptPlay<SesctlPlayer>(CASES "/sesctl.txt");
}

// But for what is made of several parts: the status code, speeds and temperatures.
TEST(Sesctl, TellsEachBitOfAStatusPage) {
    const struct {
        std::size_t at;
        const char* path;
        const char* layout;
    } records[] = {
        {1, "/enclosure/", "unrecoverable! critical! nonCritical! information invalidOperation"},
        {12, "/devices/0/",
         ".:2 disabled .:5 slot:8 .:1 ident .:4 doNotRemove .:5 off faultRequested! faultSensed!"},
        {28, "/powerSupplies/1/",
         ".:2 disabled .:12 ident .:1 dcOverCurrent! dcUnderVoltage! dcOverVoltage! .:4 dcFail! "
         "acFail! temperatureWarning! overTemperature! off requestedOn fail!"},
        {36, "/fans/0/", ".:2 disabled .:12 ident .:8 speedCode:3 .:1 off! requestedOn fail!"},
        {52, "/temperatureSensors/1/",
         ".:2 disabled .:12 ident .:8 underTemperatureWarning! underTemperatureFailure! "
         "overTemperatureWarning! overTemperatureFailure!"},
        {60, "/audibleAlarms/0/",
         ".:2 disabled .:12 ident .:8 flags/unrecoverable! flags/critical! flags/nonCritical! "
         "flags/information flags/remind .:1 flags/muted flags/requestedMute"},
        {64, "/audibleAlarms/1/", ".:2 disabled .:12 ident"}};
    for (const auto& record : records) {
        expectDecoded(statusOf, PAGES[1], record.at, record.path, record.layout);
    }
}

TEST(Sesctl, NamesStatusCodes) {
    std::string names;
    for (unsigned code = 0; code < 9; code++) {
        Bytes page = PAGES[1];
        page[12] = static_cast<Byte>(code);
        const Json status = statusOf(page);
        names += text(status["devices"][0]["status"].get<std::string>(),
                      status["fault"] == true ? "!, " : ", ");
    }
    EXPECT_EQ(names,
              "unsupported, OK, critical!, non-critical!, unrecoverable!, not installed, unknown, "
              "not available, reserved 8, ");
}
