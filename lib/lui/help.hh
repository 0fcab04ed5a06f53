// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <glibmm/ustring.h>

namespace cui {
class DlgMgr;
}

namespace lui::Utils {

// Opens the page of a topic in the desktop's viewer for web pages, or in a window of ours over the
// manager's if there is none. A topic that isn't known and a page that can't be read are told in an
// error dialog. mgr is a manager of this layer.
void OpenHelp(cui::DlgMgr* mgr, Glib::ustring const& topic);

} // namespace lui::Utils
