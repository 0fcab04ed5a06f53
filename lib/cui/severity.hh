// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

namespace cui::severity {

// How grave a question is; decides the icon.
enum Level {
   INFO,
   WARNING,
   ERROR,
};

} // namespace cui::severity
