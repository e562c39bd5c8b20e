// SPDX-License-Identifier: Apache-2.0
// What the tests of the tools share: the tools run in this process, the player of typed lines, and
// records of bits.
#pragma once

#include <unistd.h>

#include <filesystem>
#include <nlohmann/json.hpp>

#include "tests/support/laws.h"
#include "tests/support/script.h"

using Json = nlohmann::json;
using Byte = std::uint8_t;

struct Told {
    int code;
    std::string out, err;
};

// What comes of a line that begins with a tool's name; nothing can be written to a full output.
Told told(const std::string& line, bool isFull = false);

// The lines of a text that hold something.
Lines linesIn(const std::string& text);

// With single blanks between words: how a text is laid out is left to the typed examples.
std::string squeezed(const std::string& line);

std::string contentOf(const std::string& file);

// A directory of its own, and in it while it lives.
class Place {
  public:
    Place() : before_(std::filesystem::current_path()) {
        std::filesystem::create_directory(directory);
        std::filesystem::current_path(directory);
    }
    ~Place() {
        std::filesystem::current_path(before_);
        std::filesystem::remove_all(directory);
    }
    Place(const Place&) = delete;
    Place& operator=(const Place&) = delete;
    const std::string directory = "/tmp/tools-test-" + std::to_string(getpid());

  private:
    const std::filesystem::path before_;
};

// Knows the tools by their names, and
//   full LINE                      with an output that takes nothing
//   wrong TOOL | WORDS | WORDS     nothing, where each is refused in one line
class ToolPlayer : public Player {
  public:
    ToolPlayer();

  protected:
    // The output, and "exit 3: what it complains of".
    void tell(const Told& all);
    // A long one by how it begins and ends.
    void sayShort(const std::string& line);
    bool isFull_ = false;
    const Place place_;
};

// A law of decoders: each part of a record, changed alone, changes the value at its path alone. The
// layout names the parts from the byte `at` on: "name" is a bit, "name:8" are more, ".:2" none of
// ours; "name!" makes "fault" true. What has a name beside its number is "name/value:8".
using Decode = std::function<Json(const Bytes& record)>;
void expectDecoded(const Decode& decode, const Bytes& base, std::size_t at, const std::string& path,
                   const std::string& layout);
