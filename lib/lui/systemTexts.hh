// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

namespace lui::Utils {

// Keeps the C library's own texts, such as those of strerror(3), as they are in every language.
void KeepSystemTexts();

} // namespace lui::Utils
