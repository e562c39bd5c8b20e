// SPDX-License-Identifier: Apache-2.0
// The files of the page, in the program.
#pragma once

#include <string>
#include <vector>

namespace enclab {

struct PageFile {
    std::string path;  // "/panel.js"
    std::string text;
};

const std::vector<PageFile>& pageFiles();

}  // namespace enclab
