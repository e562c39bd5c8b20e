// SPDX-License-Identifier: Apache-2.0
// In place of the panel where there is no web server library for the target.
#include "lab/web/panel.h"

namespace enclab {

std::unique_ptr<Panel> openPanel(int) {
    return nullptr;
}

}  // namespace enclab
