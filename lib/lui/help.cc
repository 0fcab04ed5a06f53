// SPDX-License-Identifier: GPL-2.0-or-later
#include "lui/help.hh"

#include "cui/format.hh"
#include "cui/localString.hh"
#include "cui/messageDlgs.hh"
#include "lui/dlgMgr.hh"
#include "lui/helpDlg.hh"
#include "lui/helpFiles.hh"
#include "lui/helpPage.hh"

#include <algorithm>
#include <gdkmm/applaunchcontext.h>
#include <gdkmm/display.h>
#include <giomm/appinfo.h>
#include <glibmm/convert.h>
#include <gtkmm/window.h>

namespace lui::Utils {

namespace {

constexpr char PAGE_TYPE[] = "text/html";

void ShowNoTopic(cui::DlgMgr& mgr, Glib::ustring const& topic)
{
   utf::string const text =
      cui::GetLocalString("@&!*@*@(msg.lui.help.noTopic)There is no help on \"%s\".");
   mgr.NewError(cui::Format(text.c_str(), topic.c_str()), "", true)->Show();
}

// A program that only shows any text would show the page's source.
bool ShowsPages(Gio::AppInfo const& viewer)
{
   std::vector<std::string> const types = viewer.get_supported_types();
   return std::find(types.begin(), types.end(), PAGE_TYPE) != types.end();
}

// False if the desktop has no viewer, or the viewer doesn't start.
bool OpenInViewer(DlgMgr& mgr, std::string const& file)
{
   Glib::RefPtr<Gio::AppInfo> const viewer = Gio::AppInfo::get_default_for_type(PAGE_TYPE, false);
   if (!viewer || !ShowsPages(*viewer.operator->())) {
      return false;
   }
   Gtk::Window* const parent = mgr.GetParent();
   auto const display = parent ? parent->get_display() : Gdk::Display::get_default();
   auto const context = display->get_app_launch_context();
   context->set_timestamp(gtk_get_current_event_time());
   try {
      return viewer->launch_uri(Glib::filename_to_uri(file), context);
   } catch (Glib::Error const&) {
      return false;
   }
}

} // namespace

void OpenHelp(cui::DlgMgr* mgr, Glib::ustring const& topic)
{
   auto* const parent = dynamic_cast<DlgMgr*>(mgr);
   if (!parent) {
      return;
   }
   std::string const file = FindHelpPage(topic);
   if (file.empty()) {
      ShowNoTopic(*mgr, topic);
      return;
   }
   HelpPage const page = ReadHelpPage(file);
   if (!page.error.empty()) {
      HelpDlg::TellWhy(*mgr, page);
   } else if (!OpenInViewer(*parent, file)) {
      HelpDlg::Open(*parent, file, page);
   }
}

} // namespace lui::Utils
