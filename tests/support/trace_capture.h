// SPDX-License-Identifier: Apache-2.0
// Opens the trace log into memory, without line prefixes, for as long as it lives.
#pragma once

#include <cstdio>
#include <cstdlib>
#include <sstream>
#include <string>
#include <vector>

#include "trace.h"

class TraceCapture {
  public:
    // Module 0 writes at the levels of `mask` (0x10 ordinary, 0x01 critical faults).
    explicit TraceCapture(U16_t mask = 0x0011) {
        static const char* const names[] = {"ESA"};
        TRACE__init(nullptr, "", 1, names);
        TRACE__setTraceLevel(0, mask);
        stream_ = open_memstream(&text_, &size_);
        traceData.fd = stream_;
    }
    ~TraceCapture() {
        traceData.fd = stderr;
        TRACE__done();
        std::fclose(stream_);
        std::free(text_);
    }
    TraceCapture(const TraceCapture&) = delete;
    TraceCapture& operator=(const TraceCapture&) = delete;

    // Lines written since the last call.
    std::vector<std::string> take() {
        std::fflush(stream_);
        std::istringstream all(std::string(text_ + taken_, size_ - taken_));
        taken_ = size_;
        std::vector<std::string> lines;
        for (std::string line; std::getline(all, line);) {
            lines.push_back(line);
        }
        return lines;
    }

  private:
    char* text_ = nullptr;
    std::size_t size_ = 0;
    std::size_t taken_ = 0;
    std::FILE* stream_;
};
