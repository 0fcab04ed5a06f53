// SPDX-License-Identifier: GPL-2.0-or-later
#include "lui/helpDlg.hh"

#include "cui/localString.hh"

#include <algorithm>
#include <array>
#include <atkmm/object.h>

namespace lui {

namespace {

constexpr unsigned int BORDER = 12;
constexpr int MARGIN = 12;
constexpr int INDENT = 24;
constexpr int PARAGRAPH_SPACING = 6;

struct Look {
   char const* tag;
   char const* bullet;
   double scale;
   bool isBold;
   int margin;
};

// In the order of HelpPage::Style.
constexpr std::array<Look, 6> LOOKS = {{
   {"paragraph", "", 1.0, false, 0},
   {"title", "", 1.5, true, 0},
   {"heading", "", 1.2, true, 0},
   {"item", "\u2022 ", 1.0, false, INDENT},
   {"term", "", 1.0, true, 0},
   {"definition", "", 1.0, false, INDENT},
}};

} // namespace

HelpDlg::HelpDlg(HelpPage const& page)
{
   set_title(page.title);
   view.set_editable(false);
   view.set_wrap_mode(Gtk::WRAP_WORD);
   view.set_left_margin(MARGIN);
   view.set_right_margin(MARGIN);
   view.set_top_margin(MARGIN);
   view.set_bottom_margin(MARGIN);
   view.get_accessible()->set_name(page.title);
   AddTags();
   for (HelpPage::Block const& block : page.blocks) {
      AddBlock(block);
   }
   view.get_buffer()->place_cursor(view.get_buffer()->begin());
   scroller.set_policy(Gtk::POLICY_NEVER, Gtk::POLICY_AUTOMATIC);
   scroller.set_shadow_type(Gtk::SHADOW_IN);
   scroller.add(view);
   view.show();
   SetContent(scroller, BORDER);
   SetButtons({cui::GetLocalString("@&!*@*@(button.lui.dialog.close)Close")}, 0, 0);
   replied.connect([] { return CLOSE; });
}

void HelpDlg::SetDefaultSize()
{
   set_default_size(560, 520);
}

void HelpDlg::AddTags()
{
   for (Look const& look : LOOKS) {
      auto const tag = view.get_buffer()->create_tag(look.tag);
      tag->property_scale() = look.scale;
      tag->property_weight() = look.isBold ? Pango::WEIGHT_BOLD : Pango::WEIGHT_NORMAL;
      tag->property_left_margin() = MARGIN + look.margin;
      tag->property_pixels_below_lines() = PARAGRAPH_SPACING;
   }
   view.get_buffer()->create_tag("strong")->property_weight() = Pango::WEIGHT_BOLD;
}

void HelpDlg::AddBlock(HelpPage::Block const& block)
{
   auto const buffer = view.get_buffer();
   Look const& look = LOOKS.at(block.style);
   buffer->insert_with_tag(buffer->end(), look.bullet, look.tag);
   for (HelpPage::Run const& run : block.runs) {
      std::vector<Glib::ustring> tags = {look.tag};
      if (run.isStrong) {
         tags.push_back("strong");
      }
      buffer->insert_with_tags_by_name(buffer->end(), run.text, tags);
   }
   buffer->insert_with_tag(buffer->end(), "\n", look.tag);
}

void HelpDlg::Open(DlgMgr& mgr, std::string const& file, HelpPage const& page)
{
   for (cui::Dlg* const open : mgr.GetDlgs()) {
      auto* const help = dynamic_cast<HelpDlg*>(open);
      if (help && help->file == file) {
         mgr.Present(help);
         return;
      }
   }
   auto* const help = new HelpDlg(page);
   help->file = file;
   mgr.AddManagedDlg(help);
}

} // namespace lui
