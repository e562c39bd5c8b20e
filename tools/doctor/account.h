// SPDX-License-Identifier: Apache-2.0
// What the service's user may do, by owner, group and mode; access lists are not looked at.
#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

namespace doctor {

constexpr unsigned MAY_READ = 4;
constexpr unsigned MAY_WRITE = 2;
constexpr unsigned MAY_SEARCH = 1;

struct Account {
    std::string name;
    uid_t user = 0;
    std::vector<gid_t> groups = {};

    // Whether a thing of this owner, group and mode allows all of `wanted`, MAY_ bits.
    bool may(uid_t owner, gid_t group, unsigned mode, unsigned wanted) const;
    // The first directory on the way to `path` that may not be searched, or `path` itself when it
    // does not allow `wanted`; empty when all is well. `path` must exist.
    std::string obstacle(const std::string& path, unsigned wanted) const;
};

// The account of user `name`, in `extraGroup`, too, when there is one of that name. No groups:
// there is no such user.
Account accountOf(const std::string& name, const std::string& extraGroup);

}  // namespace doctor
