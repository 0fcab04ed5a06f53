// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

namespace lui::Utils {

// Prepares cui::GetLocalString, in the language of the process.
void InitCatalogues();

// FollowLocale and InitCatalogues, and keeps GTK, if the process has it (it mustn't have been
// started yet), from asking for an unknown locale again. False if the locale isn't known.
bool InitLocalization();

} // namespace lui::Utils
