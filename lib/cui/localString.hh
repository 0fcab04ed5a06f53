// SPDX-License-Identifier: GPL-2.0-or-later
// User-visible texts.
#pragma once

#include "utf/string.hh"

namespace cui {

// Resolves a marked message, "@&!*@*@(id)Default text", in the user's language: the catalogue is
// asked for the default text with the id as its context. Without a translation the result is the
// default text; a text without a well-formed marker comes back as it is.
utf::string GetLocalString(char const* marked);

// Tells GetLocalString where the catalogues are, as bindtextdomain(3) takes it. Called once, after
// the process's locale was set; until then every message is its default text.
void SetCatalogueDirectory(char const* directory);

} // namespace cui
