// SPDX-License-Identifier: GPL-2.0-or-later
#include "tvnetcfg/linux/autoBridgeDlg.hh"

#include "base/panic.h"
#include "cui/format.hh"
#include "cui/localString.hh"
#include "cui/messageDlgs.hh"
#include "tvnetcfg/common/bridge.hh"
#include "tvnetcfg/common/editable.hh"
#include "tvnetcfg/linux/dlgParts.hh"

#include <algorithm>
#include <gtkmm/cellrenderertext.h>
#include <gtkmm/cellrenderertoggle.h>
#include <gtkmm/scrolledwindow.h>

namespace netcfg {

namespace {

constexpr int SPACING = 12;
constexpr int WIDEST_LIST = 600;
// Of text, where they are larger than usual.
constexpr int LEAST_LINES = 6;

enum Choice { CLOSE_BUTTON = 0, HELP_BUTTON = 1 };

common::Bridge* GetAutoBridge(common::Editable const& editable)
{
   common::Network const* const network = editable.GetAutoBridgeNetwork();
   return network ? network->GetBridge() : nullptr;
}

} // namespace

AutoBridgeDlg::Columns::Columns()
{
   add(enabled);
   add(use);
   add(name);
   add(note);
}

AutoBridgeDlg::AutoBridgeDlg(common::Editable* editable)
   : store(Gtk::ListStore::create(columns)), view(store), editable(editable),
     bridge(GetAutoBridge(*editable))
{
   SetDefaultSize();
   set_title(
      cui::GetLocalString("@&!*@*@(msg.netcfg.linux.autoBridge.title)Automatic Bridging Settings"));
   ConstructUI();
   SetButtons({cui::GetLocalString("@&!*@*@(button.netcfg.linux.autoBridge.close)Close"),
               cui::GetLocalString("@&!*@*@(button.netcfg.linux.autoBridge.help)Help")},
              CLOSE_BUTTON, CLOSE_BUTTON);
   SetHelpTopic("IDH_TVNET_LIN_AUTOBRIDGE");
   replied.connect(sigc::mem_fun(*this, &AutoBridgeDlg::OnReplied));
   editable->adaptersChanged.connect(sigc::mem_fun(*this, &AutoBridgeDlg::UpdateAdapterList));
   if (bridge) {
      bridge->add_destroy_notify_callback(this, &AutoBridgeDlg::OnBridgeDied);
   }
   UpdateAdapterList();
   FitToRows();
   SelectRow(Gtk::TreePath("0"));
   view.grab_focus();
}

AutoBridgeDlg::~AutoBridgeDlg()
{
   if (bridge) {
      bridge->remove_destroy_notify_callback(this);
   }
}

void AutoBridgeDlg::SetDefaultSize()
{
   set_default_size(290, 250);
}

void AutoBridgeDlg::ConstructUI()
{
   Gtk::VBox& box = *Gtk::manage(new Gtk::VBox(false, SPACING));
   utf::string const text =
      cui::GetLocalString("@&!*@*@(msg.netcfg.linux.autoBridge.listLabel)"
                          "Automatically bridge to one of these host network adapters:");
   Gtk::Label& label = MakeLabel(text, 0.0F, 0.5F, view);
   label.set_line_wrap(true);
   box.pack_start(label, Gtk::PACK_SHRINK);

   Gtk::ScrolledWindow& scroller = *Gtk::manage(new Gtk::ScrolledWindow);
   scroller.set_policy(Gtk::POLICY_AUTOMATIC, Gtk::POLICY_AUTOMATIC);
   scroller.set_shadow_type(Gtk::SHADOW_IN);
   scroller.set_can_focus(false);
   scroller.set_min_content_height(LEAST_LINES * GetLineHeight(view));
   scroller.add(view);
   box.pack_start(scroller, Gtk::PACK_EXPAND_WIDGET);

   view.set_headers_visible(false);
   view.set_rules_hint(false);
   BuildUseColumn();
   BuildNoteColumn();
   view.show();
   scroller.show();
   box.show();
   SetContent(box, DIALOG_BORDER);
}

void AutoBridgeDlg::BuildUseColumn()
{
   Gtk::TreeViewColumn& column = *Gtk::manage(new Gtk::TreeViewColumn);
   Gtk::CellRendererToggle& toggle = *Gtk::manage(new Gtk::CellRendererToggle);
   column.pack_start(toggle, false);
   column.add_attribute(toggle.property_activatable(), columns.enabled);
   column.add_attribute(toggle.property_active(), columns.use);
   toggle.signal_toggled().connect(sigc::mem_fun(*this, &AutoBridgeDlg::OnUseToggled));
   Gtk::CellRendererText& name = *Gtk::manage(new Gtk::CellRendererText);
   column.pack_start(name, true);
   column.add_attribute(name.property_text(), columns.name);
   column.add_attribute(name.property_sensitive(), columns.enabled);
   column.set_expand(false);
   view.append_column(column);
}

void AutoBridgeDlg::BuildNoteColumn()
{
   Gtk::TreeViewColumn& column = *Gtk::manage(new Gtk::TreeViewColumn);
   Gtk::CellRendererText& note = *Gtk::manage(new Gtk::CellRendererText);
   column.pack_start(note, true);
   column.add_attribute(note.property_text(), columns.note);
   column.add_attribute(note.property_sensitive(), columns.enabled);
   column.set_expand(false);
   view.append_column(column);
}

// The window comes up as wide as its rows, which scroll only where that would be very wide.
void AutoBridgeDlg::FitToRows()
{
   int least = 0;
   int natural = 0;
   view.get_preferred_width(least, natural);
   auto& scroller = dynamic_cast<Gtk::ScrolledWindow&>(*view.get_parent());
   scroller.set_min_content_width(std::min(natural, WIDEST_LIST));
}

// A path without a row selects nothing.
void AutoBridgeDlg::SelectRow(Gtk::TreePath const& path)
{
   if (!store->get_iter(path)) {
      return;
   }
   view.get_selection()->select(path);
   // Without the cell the first arrow key would only move from the row to its toggle.
   Gtk::TreeViewColumn& column = *view.get_column(0);
   view.set_cursor(path, column, *column.get_first_cell(), false);
}

utf::string AutoBridgeDlg::GetNote(common::Network const* owner) const
{
   if (!owner || owner == editable->GetAutoBridgeNetwork()) {
      return {};
   }
   return cui::Format(
      cui::GetLocalString("@&!*@*@(msg.netcfg.linux.autoBridge.otherNetwork)(Bridged to %s)")
         .c_str(),
      common::Network::NetToString(owner->GetIndex()).c_str());
}

void AutoBridgeDlg::AppendRow(utf::string const& adapter, common::Network const* owner)
{
   Gtk::TreeRow const row = *store->append();
   bool const isUsed = owner && owner == editable->GetAutoBridgeNetwork();
   row[columns.use] = isUsed;
   row[columns.enabled] = !owner || isUsed;
   row[columns.name] = adapter;
   row[columns.note] = GetNote(owner);
}

void AutoBridgeDlg::UpdateAdapterList()
{
   Gtk::TreeIter const selected = view.get_selection()->get_selected();
   Glib::ustring const selectedName = selected ? selected->get_value(columns.name) : "";
   store->clear();
   for (auto const& [adapter, owner] : editable->GetHostAdapters()) {
      AppendRow(adapter, owner);
      if (adapter == utf::string(selectedName)) {
         SelectRow(Gtk::TreePath(std::to_string(store->children().size() - 1)));
      }
   }
}

// The row isn't touched: the model's signal redraws it.
void AutoBridgeDlg::OnUseToggled(Glib::ustring const& path)
{
   Gtk::TreeIter const row = store->get_iter(path);
   if (!row || !bridge) {
      return;
   }
   utf::string const name(row->get_value(columns.name));
   if (row->get_value(columns.use)) {
      bridge->RemoveAutoAdapter(name);
   } else {
      bridge->AddAutoAdapter(name, GetDlgMgr()->MakeAbortSlot("%s"));
   }
}

cui::Dlg::RepliedAction AutoBridgeDlg::ValidateSelection()
{
   for (Gtk::TreeRow const& row : store->children()) {
      if (row[columns.use]) {
         return CLOSE;
      }
   }
   // Nobody bridges automatically, so there is nothing to choose.
   if (!bridge) {
      return CLOSE;
   }
   utf::string const text =
      cui::GetLocalString("@&!*@*@(msg.netcfg.linux.autoBridge.selectOne)You must select at least "
                          "one host network adapter to automatically bridge to.");
   GetDlgMgr()->NewError(text, "", true)->Show();
   return KEEP_OPEN;
}

cui::Dlg::RepliedAction AutoBridgeDlg::OnReplied()
{
   switch (GetChoice()) {
   case CLOSE_BUTTON:
      return ValidateSelection();
   case HELP_BUTTON:
      ShowHelp();
      return KEEP_OPEN;
   }
   NOT_IMPLEMENTED_AT("tvnetcfg/linux/autoBridgeDlg", 330);
}

void* AutoBridgeDlg::OnBridgeDied(void* dlg)
{
   auto* const self = static_cast<AutoBridgeDlg*>(dlg);
   self->bridge = nullptr;
   self->DeleteDlg();
   return nullptr;
}

} // namespace netcfg
