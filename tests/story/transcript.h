// SPDX-License-Identifier: Apache-2.0
// A story as text: commands, each followed by what comes of it. "show WHAT..." and "hide WHAT..."
// choose among
//   log       trace lines, but those of the message printer
//   bus       transfers, "R 41 04=80", in their place among the trace lines, and "sleep 3"
//   messages  as the lab shows them; hex: and their bytes, the address at the front as dots
//   page      the sections of a status page that are not as on the page before
//   result    of a routine called; fields: what has changed of the control block
// A critical fault is always shown.
// "sweep PREPARATION | COMMAND" loses each transfer of the command in turn, each time prepared
// anew: per stretch of transfers with the same outcome the first one, the result, how far the
// command went, and its last line when that says what failed. "lengths PREPARATION | COMMAND" ends
// the command's message after each of its bytes, in front of the rest in the receive buffer: per
// stretch of lengths with the same outcome the first one and that outcome.
#pragma once

#include <map>
#include <memory>
#include <set>
#include <string>

#include "tests/story/service.h"
#include "tests/support/trace_capture.h"

class Transcript {
  public:
    Transcript();

    // Runs a line of commands, ';' between them; the lines that follow it.
    std::string run(const std::string& line);

  private:
    bool choose(const std::string& line);
    void logTake();
    void messagesShow();
    void pageShow(const Bytes& reply);
    void fieldsShow(bool outcome);
    void runOne(const std::string& command);
    void sweep(const std::string& preparation, const std::string& command);
    void lengths(const std::string& preparation, const std::string& command);
    void prepare(const std::string& commands);
    std::string outcomeWithout(std::uint32_t n, const std::string& command, std::string* transfer);
    void show(const std::string& tag, const std::string& text);

    StoryService service_;
    std::unique_ptr<TraceCapture> trace_;
    std::set<std::string> chosen_;
    unsigned slept_ = 0;                        // seconds shown so far
    std::map<std::string, std::string> shown_;  // by tag
    std::string lines_;
    std::vector<std::string> transfers_;  // of the command
};
