// SPDX-License-Identifier: GPL-2.0-or-later
// User-visible texts.
#pragma once

#include "utf/string.hh"

namespace cui {

// Resolves a marked message, "@&!*@*@(id)Default text", in the user's language: the catalogue is
// asked for the default text with the id as its context. An id consists of letters, digits, dots,
// hyphens and underscores. Without a translation the result is the default text, and also where the
// translation's printf conversions aren't the default text's. A text without a marker comes back as
// it is, one whose id isn't well formed without its marker (and without the parentheses of an empty
// id), and null gives the empty text.
utf::string GetLocalString(char const* marked);

// Tells GetLocalString where the catalogues are, as bindtextdomain(3) takes it; null for nowhere.
// Called after the process's locale was set; until then every message is its default text.
void SetCatalogueDirectory(char const* directory);

} // namespace cui
