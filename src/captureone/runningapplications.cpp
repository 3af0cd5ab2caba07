// SPDX-License-Identifier: GPL-3.0-or-later
#include "runningapplications.h"

namespace qb {

std::vector<RunningApplication> SystemRunningApplications::runningApplications() const
{
    // Bundle identifiers exist only on macOS; there is nothing to list here.
    return {};
}

} // namespace qb
