// SPDX-License-Identifier: GPL-2.0-or-later
#include "lui/systemTexts.hh"

#include <libintl.h>

namespace lui::Utils {

void KeepSystemTexts()
{
   bindtextdomain("libc", "/nonexistent");
}

} // namespace lui::Utils
