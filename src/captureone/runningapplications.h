// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

#include <vector>

namespace qb {

struct RunningApplication {
    QString bundleIdentifier;
    QString localizedName;
};

// The applications running for this user, in the system's order. Injected,
// so that tests can pretend that Capture One runs.
class RunningApplications {
public:
    virtual ~RunningApplications() = default;
    virtual std::vector<RunningApplication> runningApplications() const = 0;
};

// This system's list. Capture One has no Linux build, so on Linux none of
// the applications we look for is ever found.
class SystemRunningApplications : public RunningApplications {
public:
    std::vector<RunningApplication> runningApplications() const override;
};

} // namespace qb
