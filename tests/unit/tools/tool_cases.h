// SPDX-License-Identifier: Apache-2.0
// A command of ours run in this process, and what a case expects of it:
//   exit  its exit code, 0 unless given        out  its output, empty unless given
//   err   its error line, * stands for anything  has  a part of its output, instead of `out`
#pragma once

#include <fnmatch.h>
#include <gmock/gmock.h>

#include <algorithm>
#include <functional>
#include <sstream>
#include <string>
#include <vector>

#include "tests/support/cases.h"

struct ToolResult {
    int code;
    std::string out;
    std::string err;
};

using ToolMain =
    std::function<int(int argc, const char* const* argv, std::ostream& out, std::ostream& err)>;

inline ToolResult runTool(const char* name, const ToolMain& main,
                          const std::vector<std::string>& words) {
    std::vector<const char*> argv = {name};
    for (const std::string& word : words) {
        argv.push_back(word.c_str());
    }
    std::ostringstream out;
    std::ostringstream err;
    const int code = main(static_cast<int>(argv.size()), argv.data(), out, err);
    return {code, out.str(), err.str()};
}

// Without blanks at line ends, and with "$" for `place`.
inline std::string plain(std::string text, const std::string& place) {
    for (std::size_t at; !place.empty() && (at = text.find(place)) != text.npos;) {
        text.replace(at, place.size(), "$");
    }
    std::string result;
    for (const std::string& line : linesOf(text)) {
        result += line.substr(0, line.find_last_not_of(' ') + 1) + "\n";
    }
    return result;
}

inline void expectTool(const char* name, const Case& c, const ToolResult& result,
                       const std::string& place = "") {
    EXPECT_EQ(result.code, static_cast<int>(c.number("exit", 0)));
    const std::string err = c.has("err") ? name + (": " + c.get("err")) + "\n" : "";
    const std::string said = plain(result.err, place);
    EXPECT_EQ(fnmatch(err.c_str(), said.c_str(), FNM_NOESCAPE), 0) << said;
    EXPECT_LE(std::count(said.begin(), said.end(), '\n'), 1) << said;
    const std::string out = plain(result.out, place);
    for (const std::string& part : c.all("has")) {
        EXPECT_THAT(out, testing::HasSubstr(part));
    }
    if (!c.has("has")) {
        EXPECT_EQ(out, c.get("out"));
    }
}
