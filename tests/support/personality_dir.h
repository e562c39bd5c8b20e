// SPDX-License-Identifier: Apache-2.0
// A start-up directory of its own, named by STARTUP, with or without a personality file beside it.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>

class PersonalityDir {
  public:
    PersonalityDir() {
        char pattern[] = "/tmp/esapersonalityXXXXXX";
        if (mkdtemp(pattern) == nullptr) {
            throw std::runtime_error("mkdtemp");
        }
        root_ = pattern;
        std::filesystem::create_directories(root_ / "startup");
        std::filesystem::create_directories(root_ / "web/OEM");
        setenv("STARTUP", (root_ / "startup").c_str(), 1);
    }
    ~PersonalityDir() {
        unsetenv("STARTUP");
        std::filesystem::remove_all(root_);
    }
    PersonalityDir(const PersonalityDir&) = delete;
    PersonalityDir& operator=(const PersonalityDir&) = delete;

    void write(const std::string& text) { std::ofstream(file()) << text; }
    std::filesystem::path file() const { return root_ / "web/OEM/EnvPersonalityParams.xml"; }
    // As the service builds it.
    std::string path() const {
        return (root_ / "startup").string() + "/../web/OEM/EnvPersonalityParams.xml";
    }

  private:
    std::filesystem::path root_;
};
