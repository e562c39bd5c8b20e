// SPDX-License-Identifier: Apache-2.0
// Calls that the preload library takes over, and the way to the call it stands in front of.
#pragma once

#include <dlfcn.h>

#define ENCDEV_CALL extern "C" __attribute__((visibility("default")))

namespace encdev {

// The next definition of a call after this library: the C library's, or a sanitizer's. Looked up
// once; constant-initialised, so that it works in calls made before this library's constructors.
template <class Call>
class Next {
  public:
    explicit constexpr Next(const char* name) : name_(name) {}

    template <class... Arguments>
    auto operator()(Arguments... arguments) {
        if (call_ == nullptr) {
            call_ = reinterpret_cast<Call*>(dlsym(RTLD_NEXT, name_));
        }
        return call_(arguments...);
    }

  private:
    const char* name_;
    Call* call_ = nullptr;
};

}  // namespace encdev
