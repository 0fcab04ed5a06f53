// SPDX-License-Identifier: GPL-2.0-or-later
// The networks that the pictures show.
#pragma once

#include "tvnetcfg/common/editable.hh"

namespace screenshots {

// tvnet0 automatic, tvnet1 host-only, tvnet2 on one adapter, tvnet8 NAT with port forwards, tvnet9
// NAT without a subnet; no adapter is free.
void AddUsualNetworks(netcfg::common::Editable& model);
// Some dozens of them.
void AddManyNetworks(netcfg::common::Editable& model);

} // namespace screenshots
