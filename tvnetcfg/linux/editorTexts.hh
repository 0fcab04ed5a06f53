// SPDX-License-Identifier: GPL-2.0-or-later
// The texts that the list of networks is made of, in the user's language.
#pragma once

#include "utf/string.hh"

namespace netcfg::editorTexts {

// A cell that has no meaning for the network.
utf::string GetNotApplicable();
// No connection.
utf::string GetNone();

// The types.
utf::string GetBridged();
utf::string GetNat();
utf::string GetHostOnly();

// What a network reaches beyond the host.
utf::string GetAutoBridging();
utf::string GetNatConnection();

// Whether it has DHCP.
utf::string GetYes();
utf::string GetNo();

// A subnet that is still to be chosen.
utf::string GetAutoDetect();

} // namespace netcfg::editorTexts
