// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

namespace lui::Utils {

// Loads what GTK otherwise loads with the first window: the theme, the icons' index and the fonts.
// For a time in which a program waits, as it's a quarter of a start. GTK runs.
void PrepareToolkit();

} // namespace lui::Utils
