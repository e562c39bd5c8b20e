// SPDX-License-Identifier: Apache-2.0
// sesctl as its users meet it: command lines against a scripted switch, as cases/sesctl.txt types
// them. Its head says what the keys mean.
#include <gmock/gmock.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <random>
#include <thread>

#include "basetypes.h"
#include "tests/support/hex.h"
#include "tests/unit/tools/tool_cases.h"
#include "tools/sesctl/cli.h"
#include "tools/sesctl/codec.h"
#include "tools/sesctl/failure.h"

using Bytes = std::vector<std::uint8_t>;

namespace {

const std::vector<Case>& sesctlCases() {
    static const std::vector<Case> cases = casesOf(CASES "/cases/sesctl.txt");
    return cases;
}

// "24=05 27=06": the decimal offset and the byte there.
Bytes changed(Bytes bytes, const std::string& changes, bool flips = false) {
    for (const std::string& word : wordsOf(changes)) {
        const std::size_t equals = word.find('=');
        const int value = std::stoi(word.substr(equals + 1), nullptr, 16);
        std::uint8_t& byte = bytes.at(std::stoul(word));
        byte = static_cast<std::uint8_t>(flips ? byte ^ value : value);
    }
    return bytes;
}

// A page in good order as replies carry it, with what the case changes in it.
Bytes payloadOf(const Case& c, const char* page, const std::string& more = "") {
    Bytes payload = hexBytes(sesctlCases().front().get(page + std::string(" page")));
    const std::vector<std::string> insert = wordsOf(c.get(std::string(page) + " insert"));
    if (!insert.empty()) {
        payload.insert(payload.begin() + std::stol(insert[0]), std::stoul(insert[1]), 0);
    }
    return changed(payload, c.get(page) + " " + more);
}

// The message switch of one case: a thread that answers on a Unix socket of its own.
class FakeSwitch {
  public:
    FakeSwitch(const Case& c, const std::string& changes) : case_(c), changes_(changes) {
        char name[] = "/tmp/sesctl-XXXXXX";
        directory_ = mkdtemp(name);
        std::filesystem::create_directory(directory_ + "/mmsg");
        sockaddr_un address = {};
        address.sun_family = AF_UNIX;
        std::snprintf(address.sun_path, sizeof address.sun_path, "%s/mmsg/environ", name);
        listener_ = socket(AF_UNIX, SOCK_STREAM, 0);
        bind(listener_, reinterpret_cast<const sockaddr*>(&address), sizeof address);
        listen(listener_, 1);
        thread_ = std::thread([this] { serve(); });
    }
    ~FakeSwitch() {
        requests();
        close(listener_);
        std::filesystem::remove_all(directory_);
    }
    FakeSwitch(const FakeSwitch&) = delete;
    FakeSwitch& operator=(const FakeSwitch&) = delete;

    const std::string& directory() const { return directory_; }
    // What came; when the client is gone.
    const std::vector<Bytes>& requests() {
        if (thread_.joinable()) {
            shutdown(listener_, SHUT_RDWR);  // wakes an accept nobody connects to
            thread_.join();
        }
        return requests_;
    }

  private:
    void serve() {
        const int fd = accept(listener_, nullptr, nullptr);
        const unsigned hangUp = case_.number("hang up", 1000);
        for (Bytes header(64); fd >= 0 && recv(fd, header.data(), 64, MSG_WAITALL) == 64;) {
            Bytes request = header;
            request.resize(static_cast<std::size_t>(header[10] * 256 + header[11]));
            recv(fd, request.data() + 64, request.size() - 64, MSG_WAITALL);
            requests_.push_back(request);
            if (requests_.size() > hangUp) {
                break;
            }
            if (!case_.has("silent")) {
                answer(fd, request);
            }
        }
        close(fd);
    }
    // The service's reply: header, status byte, payload.
    Bytes replyTo(const Bytes& request) const {
        const bool isControl = request[15] == 29;
        Bytes behind = {0};
        const Bytes payload = request[66] == 1 ? payloadOf(case_, "configuration")
                                               : payloadOf(case_, "status", changes_);
        behind.insert(behind.end(), payload.begin(), payload.end());
        behind = isControl ? hexBytes(case_.get("control", "00 000000"))
                           : hexBytes(case_.get("body", hexText(behind)));
        Bytes reply = hexBytes(R"(00000000 00000000 0E010000 00000000 21401A00 04000000 00000000
            00000000 00000000 00000000 00000000 00000000 00000000 00000000 00000000 00000000)");
        std::copy_n(request.begin() + 12, 4, reply.begin() + 12);  // opcode
        std::copy_n(request.begin() + 40, 4, reply.begin() + 40);  // handle
        reply.insert(reply.end(), behind.begin(), behind.end());
        reply[10] = static_cast<std::uint8_t>(reply.size() >> 8);
        reply[11] = static_cast<std::uint8_t>(reply.size());
        return changed(reply, case_.get("reply flips"), true);
    }
    void answer(int fd, const Bytes& request) const {
        Bytes stream = replyTo(request);
        if (case_.has("pieces")) {  // behind a reply to somebody else
            const Bytes foreign = changed(stream, "43=FF", true);
            stream.insert(stream.begin(), foreign.begin(), foreign.end());
        }
        stream.resize(case_.number("cut", narrowTo<unsigned>(stream.size())));
        const std::size_t piece = case_.number("pieces", 4096);
        for (std::size_t at = 0; at < stream.size(); at += piece) {
            send(fd, stream.data() + at, std::min(piece, stream.size() - at), MSG_NOSIGNAL);
            usleep(case_.has("pieces") ? 1000 : 0);  // so that pieces arrive as pieces
        }
    }

    const Case& case_;
    const std::string changes_;
    std::string directory_;
    int listener_;
    std::vector<Bytes> requests_;
    std::thread thread_;
};

struct Outcome {
    ToolResult result;
    std::vector<Bytes> requests;
};

Outcome run(const Case& c, const std::string& commandLine, const std::string& changes = "") {
    FakeSwitch messageSwitch(c, changes);
    std::vector<std::string> words = wordsOf(commandLine);
    if (!c.has("elsewhere")) {
        const std::string timeout = c.get("timeout", "600");
        words.insert(words.end(), {"--dir", messageSwitch.directory(), "--timeout", timeout});
    }
    const ToolResult result = runTool("sesctl", sesctl::run, words);
    return {result, messageSwitch.requests()};
}

std::string piped(const std::string& text, const std::string& command) {
    const std::string file = "/tmp/sesctl-pipe-" + std::to_string(getpid());
    std::ofstream(file) << text;
    std::FILE* const pipe = popen(("(" + command + ") 2>&1 <" + file).c_str(), "r");
    std::string answer;
    char chunk[4096];
    for (std::size_t got; (got = std::fread(chunk, 1, sizeof chunk, pipe)) > 0;) {
        answer.append(chunk, got);
    }
    EXPECT_EQ(pclose(pipe), 0) << answer;
    std::remove(file.c_str());
    return answer;
}

// The values of a status report that are not those of an enclosure in good order.
std::vector<std::string> news(const std::string& json) {
    static const auto good =
        nlohmann::json::parse(run(sesctlCases().front(), "status --json").result.out).flatten();
    std::vector<std::string> values;
    const auto report = nlohmann::json::parse(json).flatten();
    for (const auto& [path, value] : report.items()) {
        if (!good.contains(path) || good[path] != value) {
            values.push_back(path + "=" + value.dump());
            std::replace(values.back().begin(), values.back().end(), ' ', '_');
        }
    }
    return values;
}

// "91=80 96=80": the bytes of a control page that are not 0, behind its generation.
std::string requestedBy(const Bytes& message) {
    std::string text;
    for (std::size_t at = 8; 72 + at < message.size(); at++) {
        char word[16];
        std::snprintf(word, sizeof word, "%zu=%02X ", at, message[72 + at]);
        text += message[72 + at] != 0 ? word : "";
    }
    return text.substr(0, text.find_last_not_of(' ') + 1);
}

void expectRequests(const Case& c, const std::vector<Bytes>& requests) {
    if (c.has("requests")) {
        EXPECT_EQ(requests.size(), c.number("requests", 0));
    }
    if (c.has("sent")) {
        ASSERT_EQ(requests.size(), 3U);
        EXPECT_EQ(requestedBy(requests[2]), c.get("sent"));
    }
    const std::vector<std::string> typed = c.all("request");
    for (std::size_t i = 0; i < typed.size(); i++) {
        ASSERT_LT(i, requests.size());
        // The handle is the client's affair.
        EXPECT_EQ(hexText(changed(requests[i], "40=0 41=0 42=0 43=0")), hexText(typed[i])) << i;
    }
}

}  // namespace

TEST(Sesctl, AnswersAsTyped) {
    for (const Case& c : sesctlCases()) {
        for (const std::string& words : c.all("run")) {
            SCOPED_TRACE(c.name + ": " + words);
            Outcome outcome = run(c, words);
            if (c.has("pipe")) {
                outcome.result.out = piped(outcome.result.out, c.get("pipe"));
            }
            expectTool("sesctl", c, outcome.result);
            expectRequests(c, outcome.requests);
        }
        for (const std::string& line : linesOf(c.get("news"))) {
            const std::size_t bar = line.find('|');
            SCOPED_TRACE(c.name + ": " + line);
            EXPECT_EQ(news(run(c, "status --json", line.substr(0, bar)).result.out),
                      wordsOf(line.substr(bar + 1)));
        }
    }
}

TEST(Sesctl, EachCommandHasItsOwnHandle) {
    const std::vector<Bytes> requests = run(sesctlCases().front(), "status").requests;
    ASSERT_EQ(requests.size(), 2U);
    EXPECT_NE(hexText(changed(requests[0], "66=0")), hexText(changed(requests[1], "66=0")));
    EXPECT_FALSE(std::equal(requests[0].begin() + 40, requests[0].begin() + 44, Bytes(4).begin()));
}

TEST(Sesctl, EnvironmentNamesTheSocketsUnlessAnOptionDoes) {
    FakeSwitch messageSwitch(sesctlCases().front(), "");
    setenv("ESA_MMSG_DIR", (messageSwitch.directory() + "/mmsg").c_str(), 1);
    EXPECT_EQ(runTool("sesctl", sesctl::run, {"config", "--name", "no-such-lab"}).code, 3);
    EXPECT_EQ(runTool("sesctl", sesctl::run, {"config", "--timeout", "600"}).code, 0);
    unsetenv("ESA_MMSG_DIR");
}

// Whatever the bytes are, the answer is a result or "malformed"; the sanitizers watch the rest.
TEST(Sesctl, PagesSurviveNoise) {
    using namespace sesctl;
    std::mt19937 random(1);
    const Bytes pages[] = {payloadOf({}, "configuration"), payloadOf({}, "status")};
    const Configuration configuration = decodeConfiguration(completePage(pages[0], 1));
    int accepted = 0;
    for (std::size_t round = 0; round < 4000; round++) {
        Bytes payload = pages[round % 2];
        payload.resize(random() % 8 == 0 ? random() % payload.size() : payload.size());
        for (auto changes = random() % 4; changes > 0 && !payload.empty(); changes--) {
            payload[random() % payload.size()] = static_cast<std::uint8_t>(random());
        }
        try {
            if (round % 2 == 0) {
                decodeConfiguration(completePage(payload, 1));
            } else {
                decodeStatus(completePage(payload, 2), configuration);
            }
            accepted++;
        } catch (const Failure& failure) {
            EXPECT_EQ(failure.code(), ExitCode::malformedReply);
        }
    }
    EXPECT_GT(accepted, 100);
}
