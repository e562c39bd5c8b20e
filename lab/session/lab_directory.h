// SPDX-License-Identifier: Apache-2.0
// The directory a lab lives in. One lab at a time: a lock file in it is held for the lab's life.
// What a killed lab left behind, its shared segment included, is cleared by the next one.
#pragma once

#include <filesystem>
#include <string>

namespace enclab {

class LabDirectory {
  public:
    // /tmp/enclab-<uid>/<name>; the labs of one user stand side by side.
    static std::filesystem::path defaultPath(const std::string& name);

    // Takes the directory, made when missing, with its folders empty. Throws std::runtime_error
    // when another lab holds it, when it holds files that are no lab's, or when its path is too
    // long for the sockets in it.
    explicit LabDirectory(std::filesystem::path path);
    // Removes what the lab made. With keepLogs() the log/ and nv/ folders stay.
    ~LabDirectory();
    LabDirectory(const LabDirectory&) = delete;
    LabDirectory& operator=(const LabDirectory&) = delete;

    void keepLogs() { keepLogs_ = true; }
    // Notes the lab's segment for the clearing after a kill.
    void noteSegment(int shmid);

    const std::filesystem::path& path() const { return path_; }
    std::filesystem::path switchSockets() const { return path_ / "mmsg"; }
    std::filesystem::path nonVolatile() const { return path_ / "nv"; }
    std::filesystem::path log() const { return path_ / "log"; }
    std::filesystem::path startup() const { return path_ / "startup"; }
    std::filesystem::path personality() const {
        return path_ / "web" / "OEM" / "EnvPersonalityParams.xml";
    }
    std::filesystem::path busSocket() const { return path_ / "bus"; }
    std::filesystem::path clockSocket() const { return path_ / "clock"; }
    std::filesystem::path controlSocket() const { return path_ / "ctl"; }

  private:
    void lock();
    void clearSegment();
    void clearFiles();

    std::filesystem::path path_;
    int lockFd_ = -1;
    bool keepLogs_ = false;
};

}  // namespace enclab
