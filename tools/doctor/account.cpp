// SPDX-License-Identifier: Apache-2.0
#include "tools/doctor/account.h"

#include <grp.h>
#include <pwd.h>
#include <sys/stat.h>

#include <algorithm>
#include <filesystem>

namespace doctor {

bool Account::may(uid_t owner, gid_t group, unsigned mode, unsigned wanted) const {
    if (user == 0) {
        return true;
    }
    const bool inGroup = std::ranges::find(groups, group) != groups.end();
    const unsigned shift = user == owner ? 6 : (inGroup ? 3 : 0);
    return (mode >> shift & wanted) == wanted;
}

std::string Account::obstacle(const std::string& path, unsigned wanted) const {
    const auto allows = [this](const std::filesystem::path& at, unsigned bits) {
        struct stat status = {};
        return stat(at.c_str(), &status) == 0 &&
               may(status.st_uid, status.st_gid, status.st_mode, bits);
    };
    const std::filesystem::path whole(path);
    std::filesystem::path at;
    for (const auto& part : whole.parent_path()) {
        at /= part;
        if (!allows(at, MAY_SEARCH)) {
            return at;
        }
    }
    return allows(whole, wanted) ? "" : path;
}

Account accountOf(const std::string& name, const std::string& extraGroup) {
    Account account{.name = name};
    const passwd* const entry = getpwnam(name.c_str());
    if (entry == nullptr) {
        return account;
    }
    account.user = entry->pw_uid;
    int count = 0;
    getgrouplist(name.c_str(), entry->pw_gid, nullptr, &count);
    account.groups.resize(static_cast<std::size_t>(count));
    getgrouplist(name.c_str(), entry->pw_gid, account.groups.data(), &count);
    if (const group* const extra = getgrnam(extraGroup.c_str())) {
        account.groups.push_back(extra->gr_gid);
    }
    return account;
}

}  // namespace doctor
