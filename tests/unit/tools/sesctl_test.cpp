// SPDX-License-Identifier: Apache-2.0
// sesctl against a message switch of the test's own: status pages made at random, beside the tests'
// own reading of them; sesctl.txt has its tables and what goes wrong.
#include <fmt/ranges.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <thread>

#include "tests/unit/tools/ses_pages.h"
#include "tools/sesctl/cli.h"
#include "tools/sesctl/codec.h"
#include "tools/sesctl/failure.h"

namespace {

// ---- the switch ----

// What is sent for a request, piece by piece; without any the switch hangs up.
using Answer = std::function<std::vector<Bytes>(const Bytes& request)>;

// Answers one client on the socket mmsg/environ of this directory.
class FakeSwitch {
  public:
    explicit FakeSwitch(const Answer& answer) : answer_(answer) {
        std::filesystem::create_directory("mmsg");
        std::filesystem::remove("mmsg/environ");
        sockaddr_un address = {AF_UNIX, "mmsg/environ"};
        bind(listener_, reinterpret_cast<const sockaddr*>(&address), sizeof address);
        listen(listener_, 1);
        thread_ = std::thread([this] { serve(); });
    }
    // What came; when the client is gone.
    std::vector<Bytes> end() {
        shutdown(listener_, SHUT_RDWR);  // wakes an accept nobody connects to
        thread_.join();
        close(listener_);
        return requests_;
    }

  private:
    void serve() {
        const int fd = accept(listener_, nullptr, nullptr);
        bool goesOn = true;
        for (Bytes header(64); goesOn && recv(fd, header.data(), 64, MSG_WAITALL) == 64;) {
            Bytes& request = requests_.emplace_back(header);
            request.resize(narrowTo<std::size_t>(header[10] * 256 + header[11]));
            recv(fd, request.data() + 64, request.size() - 64, MSG_WAITALL);
            const std::vector<Bytes> pieces = answer_(request);
            for (const Bytes& piece : pieces) {
                send(fd, piece.data(), piece.size(), MSG_NOSIGNAL);
                usleep(pieces.size() > 1 ? 1000 : 0);  // so that pieces arrive as pieces
            }
            goesOn = !pieces.empty();
        }
        close(fd);
    }
    const Answer answer_;
    const int listener_ = socket(AF_UNIX, SOCK_STREAM, 0);
    std::vector<Bytes> requests_;
    std::thread thread_;
};

Bytes replyTo(const Bytes& request, const Bytes& body) {
    Bytes reply = hexBytes("00000000 00000000 0E010000 00000000 21401A00 04000000");
    reply.resize(64);
    std::copy_n(request.begin() + 12, 4, reply.begin() + 12);  // opcode
    std::copy_n(request.begin() + 40, 4, reply.begin() + 40);  // handle
    reply.insert(reply.end(), body.begin(), body.end());
    reply[10] = static_cast<Byte>(reply.size() >> 8);
    reply[11] = static_cast<Byte>(reply.size());
    return reply;
}

// The service: status 0, and the page without its last byte.
Bytes served(const Pages& pages, const Bytes& request) {
    const Bytes& page = request[66] == 1 ? pages.configuration : pages.status;
    Bytes body(1);
    body.insert(body.end(), page.begin(), page.end() - 1);
    return replyTo(request, request[15] == 29 ? Bytes(4) : body);
}

struct Run {
    Told told;
    std::vector<Bytes> requests;
};
Run runWith(const Answer& answer, const std::string& line) {
    FakeSwitch peer(answer);
    const std::string wait = line.find("--timeout") == line.npos ? " --timeout 600" : "";
    const Told all = told(sesctl::run, "sesctl " + line + " --dir ." + wait);
    return {all, peer.end()};
}
Run runWith(const Pages& pages, const std::string& line) {
    return runWith([&](const Bytes& request) { return std::vector<Bytes>{served(pages, request)}; },
                   line);
}

// Commands, and the bits they clear and set in the last byte of a record.
struct Control {
    const char* command;
    std::size_t kind;
    unsigned mask, value;
};
constexpr Control CONTROLS[] = {{"led on", 0, 0x04, 0x04},        {"led off", 0, 0x04, 0},
                                {"psu fault", 1, 0x02, 0x02},     {"psu ok", 1, 0x02, 0},
                                {"fan on", 2, 0x04, 0x04},        {"fan off", 2, 0x04, 0},
                                {"alarm mute", 4, 0x52, 0x02},    {"alarm info", 4, 0x52, 0x10},
                                {"alarm critical", 4, 0x52, 0x40}};

// A request but for its handle, which is the client's affair.
std::string requestOf(int operation, const std::string& block, const Bytes& page = {}) {
    return hexText(fmt::format("{:016}0E01{:04X}120000{:02X}1A0021{:010}00000002{:072}{}{}", 0,
                               72 + page.size(), operation, 0, 0, block, hexLine(page)));
}
std::string withoutHandle(Bytes request) {
    EXPECT_NE(hexLine({request.begin() + 40, request.begin() + 44}), "00 00 00 00");
    std::fill_n(request.begin() + 40, 4, 0);
    return hexText(request);
}

void expectControlled(const Pages& pages, const Control& control, const Run& run,
                      const std::vector<unsigned>& numbers) {
    const Kind& kind = KINDS[control.kind];
    const unsigned usable = std::min(pages.counts[control.kind], kind.most);
    const auto wrong = std::ranges::find_if(numbers, [&](unsigned n) { return n >= usable; });
    if (wrong != numbers.end()) {
        const std::string none = fmt::format("this enclosure has no {}", kind.what);
        EXPECT_EQ(run.told.err,
                  "sesctl: " +
                      (usable == 0 ? none
                                   : fmt::format("no {} {}: they are numbered 0 to {}", kind.what,
                                                 *wrong, usable - 1)) +
                      "\n");
        EXPECT_EQ(run.told.code, 2);
        EXPECT_EQ(run.requests.size(), 2U);
        return;
    }
    Bytes page = controlOf(pages);
    page[pages.overall(control.kind) + 3] |= 0x80;
    for (const unsigned number : numbers) {
        Byte* const record = &page[pages.record(control.kind, number)];
        record[0] |= 0x80;
        record[3] = static_cast<Byte>((record[3] & ~control.mask) | control.value);
    }
    EXPECT_EQ(run.told.code, 0) << run.told.err;
    EXPECT_EQ(run.told.out, "");
    ASSERT_EQ(run.requests.size(), 3U);
    EXPECT_EQ(withoutHandle(run.requests[0]), requestOf(28, "1C8001000FA00000"));
    EXPECT_EQ(withoutHandle(run.requests[1]), requestOf(28, "1C8002000FA00000"));
    EXPECT_EQ(withoutHandle(run.requests[2]),
              requestOf(29, fmt::format("1D080000{:04X}0000", page.size()), page));
    EXPECT_NE(run.requests[0][43], run.requests[1][43]);
}

std::string piped(const std::string& text, const std::string& command) {
    std::ofstream("piped") << text;
    EXPECT_EQ(std::system(("(" + command + ") <piped >answer 2>&1").c_str()), 0);
    return contentOf("answer");
}

// "with CHANGES | COMMAND": the command against a switch with other pages or replies.
//   1:57=03 2:3=80  bytes of the configuration and of the status page
//   15=01           a byte of each reply
//   body= control=  what stands behind the header of replies, to control pages and to others
//   size=70         of each reply
//   replies=4       then the switch hangs up
class SesctlPlayer : public ToolPlayer {
  public:
    SesctlPlayer() : ToolPlayer("sesctl", sesctl::run) {
        commands["with"] = [this](const Words& words) {
            const auto bar = std::ranges::find(words.all, "|");
            const Lines changes(words.all.begin() + 1, bar);
            const std::string line = fmt::format("{}", fmt::join(bar + 1, words.all.end(), " "));
            int replies = 0;
            const auto answer = [&](const Bytes& request) {
                return changed(changes, request, replies++);
            };
            tell(runWith(answer, line).told);
        };
        commands["environment"] = [](const Words& words) {
            setenv("ESA_MMSG_DIR", words[1].c_str(), 1);
        };
    }
    ~SesctlPlayer() override { unsetenv("ESA_MMSG_DIR"); }

  private:
    static std::vector<Bytes> changed(const Lines& changes, const Bytes& request, int replies) {
        Bytes reply = served(Pages({2, 2, 2, 2, 2}), request);
        for (const std::string& change : changes) {
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
                reply.at(65 + std::stoul(name.substr(2))) = hexBytes(value)[0];
            } else if (name.find_first_not_of("0123456789") == name.npos) {
                reply.at(std::stoul(name)) = hexBytes(value)[0];
            }
        }
        return {reply};
    }
};

}  // namespace

TEST(Sesctl, AnswersAsTyped) {
    scriptPlay<SesctlPlayer>(CASES "/sesctl.txt");
}

// Each bit alone, in pages in good order, then any.
TEST(Sesctl, TellsWhatAStatusPageSays) {
    const Place place;
    Random random;
    const Pages good({1, 1, 1, 1, 2});
    for (unsigned round = 0; round < 8 * good.status.size() + 40; round++) {
        SCOPED_TRACE(round);
        Pages pages =
            round / 8 < good.status.size() ? good : anyPages(random, round % 16 == 0 ? 256 : 20);
        const unsigned at = round / 8;
        if (at == 1 || (at > 7 && at < good.status.size())) {
            pages.status[at] ^= static_cast<Byte>(1 << round % 8);
        }
        const Told all = runWith(pages, "status --json").told;
        const Json said = saidOf(pages);
        EXPECT_EQ(Json::diff(Json::parse(all.out), said), Json::array());
        EXPECT_EQ(all.code, said["fault"] ? 1 : 0);
    }
}

TEST(Sesctl, RequestsOneThingMoreThanBefore) {
    const Place place;
    Random random;
    for (int round = 0; round < 60; round++) {
        SCOPED_TRACE(round);
        const Control& control = CONTROLS[round % std::size(CONTROLS)];
        std::vector<unsigned> numbers(control.kind == 0 ? random(3) + 1 : 1);
        std::ranges::generate(numbers, [&] { return control.kind == 4 ? 0 : random(10); });
        const Pages pages = anyPages(random, 20);
        const std::string named =
            control.kind == 4 ? "" : fmt::format(" {}", fmt::join(numbers, " "));
        expectControlled(pages, control, runWith(pages, control.command + named), numbers);
    }
}

TEST(Sesctl, FindsItsRepliesInAnyStream) {
    const Place place;
    Random random;
    const Pages pages({3, 1, 1, 1, 1});
    const std::string whole = runWith(pages, "status").told.out;
    for (int round = 0; round < 20; round++) {
        const auto answer = [&](const Bytes& request) {
            Bytes stream = served(pages, request);
            stream[40 + random(4)] ^= 0xFF;
            const Bytes own = served(pages, request);
            stream.insert(stream.end(), own.begin(), own.end());
            std::vector<Bytes> pieces;
            for (std::size_t at = 0, next = 0; at < stream.size(); at = next) {
                next = std::min<std::size_t>(at + 1 + random(120), stream.size());
                pieces.emplace_back(&stream[at], &stream[at] + (next - at));
            }
            return pieces;
        };
        EXPECT_EQ(runWith(answer, "status").told.out, whole);
    }
}

// Debian's decoder reads types, counts, slot addresses, codes, slow fans and temperatures alike. It
// lists the overall words, too, here of zeros.
TEST(Sesctl, SgSesReadsTheSame) {
    const Place place;
    Random random;
    Pages pages({5, 3, 4, 6, 1});
    std::string expected;
    for (std::size_t kind = 0; kind < 5; kind++) {
        for (std::size_t n = 0; n <= pages.counts[kind]; n++) {
            Byte* const record = &pages.status[pages.overall(kind) + 4 * n];
            if (n > 0) {
                record[0] = static_cast<Byte>(random(8));
                record[1] = kind == 0 ? static_cast<Byte>(random(256)) : 0;
                record[2] = kind == 2 || kind == 3 ? static_cast<Byte>(random(255) + 1) : 0;
            }
            std::string status = STATUS[record[0]];
            status[0] = static_cast<char>(std::toupper(status[0]));
            std::erase(status, '-');
            expected += fmt::format("status: {}\n", status);
            expected += kind == 0 ? fmt::format("Slot address: {}\n", record[1]) : "";
            expected += kind == 2 ? fmt::format("Actual speed={} rpm\n", record[2] * 10) : "";
            expected += kind == 3 && n > 0 ? fmt::format("Temperature={} C\n", record[2] - 20) : "";
        }
    }
    const std::string hex = runWith(pages, "status --hex").told.out;
    EXPECT_EQ(piped(hex,
                    "sg_ses --status --page=es --inhex=- | grep -oE 'status: [A-Za-z -]+|Slot "
                    "address: [0-9]+|"
                    "Actual speed=[0-9]+ rpm|Temperature=-?[0-9]+ C'"),
              expected);
    EXPECT_EQ(piped(hex,
                    "sg_ses --status --page=cf --inhex=- | grep -oE 'vendor:.*|Element type: "
                    "[^,]*|elements: .*'"),
              "vendor: ACME      product: Box  rev: 1.02\nElement type: Device slot\nelements: "
              "5\nElement type: Power supply\n"
              "elements: 3\nElement type: Cooling\nelements: 4\nElement type: Temperature "
              "sensor\nelements: 6\n"
              "Element type: Audible alarm\nelements: 1\n");
}

// Whatever the bytes are, the answer is a result or "malformed"; the sanitizers watch the rest.
TEST(Sesctl, PagesSurviveNoise) {
    Random random;
    const Pages pages({3, 2, 2, 2, 2});
    const sesctl::Configuration configuration = sesctl::decodeConfiguration(pages.configuration);
    int accepted = 0;
    for (int round = 0; round < 4000; round++) {
        const Byte code = round % 2 == 0 ? 1 : 2;
        Bytes page = code == 1 ? pages.configuration : pages.status;
        page.resize(random(8) == 0 ? random(100) : page.size() - 1);
        for (unsigned changes = random(4); changes > 0 && !page.empty(); changes--) {
            page[random(narrowTo<unsigned>(page.size()))] = static_cast<Byte>(random(256));
        }
        try {
            const Bytes whole = sesctl::completePage(page, code);
            code == 1 ? void(sesctl::decodeConfiguration(whole))
                      : void(sesctl::decodeStatus(whole, configuration));
            accepted++;
        } catch (const sesctl::Failure& failure) {
            EXPECT_EQ(failure.code(), sesctl::ExitCode::malformedReply);
        }
    }
    EXPECT_GT(accepted, 100);
}
