// SPDX-License-Identifier: GPL-2.0-or-later
// What this product can do on this host.
#pragma once

namespace cui {

// One thing that may be there or not.
class Capability {
public:
   explicit Capability(bool present) : present(present) {}
   operator bool() const { return present; }

private:
   bool present;
};

struct Features {
   // Whether MTU values are shown, loaded and saved. Setting "feature.mtu", on by default.
   Capability mtu;
};

// The features record, read from the host's settings at the first call; client and server read the
// same file, so they agree.
Features& GetFeatures();

} // namespace cui
