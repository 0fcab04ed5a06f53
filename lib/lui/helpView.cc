// SPDX-License-Identifier: GPL-2.0-or-later
#include "lui/helpView.hh"

#include "cui/localString.hh"

#include <algorithm>
#include <array>
#include <atkmm/object.h>
#include <gdk/gdkkeysyms.h>
#include <gdkmm/cursor.h>

namespace lui {

namespace {

constexpr int MARGIN = 12;
constexpr int INDENT = 24;
constexpr int PARAGRAPH_SPACING = 6;
constexpr int HEADING_SPACING = 12;
// Of the view's height: a link that the keyboard reaches has some text around it.
constexpr double SCROLL_MARGIN = 0.1;
constexpr char LINK_TAG[] = "link";

struct BlockLook {
   char const* tag;
   double scale;
   bool isBold;
   int margin;
   int spaceAbove;
};

// In the order of HelpPage::Style.
constexpr std::array<BlockLook, 6> BLOCK_LOOKS = {{
   {"paragraph", 1.0, false, 0, 0},
   {"title", 1.5, true, 0, 0},
   {"heading", 1.2, true, 0, HEADING_SPACING},
   {"item", 1.0, false, INDENT, 0},
   {"term", 1.0, true, 0, 0},
   {"definition", 1.0, false, INDENT, 0},
}};

// In the order of HelpPage::Look.
constexpr std::array<char const*, 4> RUN_TAGS = {"", "strong", "code", LINK_TAG};

Glib::ustring GetBullet(HelpPage::Block const& block)
{
   if (block.style != HelpPage::ITEM) {
      return "";
   }
   return block.number > 0 ? std::to_string(block.number) + ". " : "\u2022 ";
}

bool IsPlain(GdkEventKey const& event, unsigned int allowed)
{
   return (event.state & gtk_accelerator_get_default_mod_mask() & ~allowed) == 0;
}

bool IsTab(unsigned int key)
{
   return key == GDK_KEY_Tab || key == GDK_KEY_KP_Tab || key == GDK_KEY_ISO_Left_Tab;
}

bool IsFollow(unsigned int key)
{
   return key == GDK_KEY_Return || key == GDK_KEY_KP_Enter || key == GDK_KEY_ISO_Enter ||
          key == GDK_KEY_space || key == GDK_KEY_KP_Space;
}

} // namespace

HelpView::HelpView()
{
   set_editable(false);
   set_accepts_tab(false);
   set_wrap_mode(Gtk::WRAP_WORD_CHAR);
   set_left_margin(MARGIN);
   set_right_margin(MARGIN);
   set_top_margin(MARGIN);
   set_bottom_margin(MARGIN);
   get_accessible()->set_description(cui::GetLocalString(
      "@&!*@*@(msg.lui.help.keys)Tab goes to the next link, and Enter follows it."));
   AddTags();
   // A press and its release have been handled by then, and so has what they select.
   signal_event_after().connect(sigc::mem_fun(*this, &HelpView::OnEventAfter));
}

void HelpView::AddTags()
{
   auto const buffer = get_buffer();
   for (BlockLook const& look : BLOCK_LOOKS) {
      auto const tag = buffer->create_tag(look.tag);
      tag->property_scale() = look.scale;
      tag->property_weight() = look.isBold ? Pango::WEIGHT_BOLD : Pango::WEIGHT_NORMAL;
      tag->property_left_margin() = MARGIN + look.margin;
      tag->property_pixels_above_lines() = look.spaceAbove;
      tag->property_pixels_below_lines() = PARAGRAPH_SPACING;
   }
   buffer->create_tag("strong")->property_weight() = Pango::WEIGHT_BOLD;
   buffer->create_tag("code")->property_family() = "Monospace";
   buffer->create_tag(LINK_TAG)->property_underline() = Pango::UNDERLINE_SINGLE;
}

// The theme's colour of links, also in one of high contrast.
void HelpView::on_style_updated()
{
   Gtk::TextView::on_style_updated();
   if (auto const tag = get_buffer()->get_tag_table()->lookup(LINK_TAG)) {
      tag->property_foreground_rgba() = get_style_context()->get_color(Gtk::STATE_FLAG_LINK);
   }
}

// The text comes as a whole: a screen reader that hears of every piece is busy with them for
// seconds.
void HelpView::ShowPage(HelpPage const& page)
{
   auto const buffer = Gtk::TextBuffer::create(get_buffer()->get_tag_table());
   links.clear();
   for (HelpPage::Block const& block : page.blocks) {
      AddBlock(*buffer.operator->(), block);
   }
   buffer->place_cursor(buffer->begin());
   set_buffer(buffer);
   get_accessible()->set_name(page.title);
   SetPlace(0);
}

void HelpView::AddBlock(Gtk::TextBuffer& buffer, HelpPage::Block const& block)
{
   Glib::ustring const tag = BLOCK_LOOKS.at(block.style).tag;
   buffer.insert_with_tag(buffer.end(), GetBullet(block), tag);
   for (HelpPage::Run const& run : block.runs) {
      AddRun(buffer, run, tag);
   }
   buffer.insert_with_tag(buffer.end(), "\n", tag);
}

void HelpView::AddRun(Gtk::TextBuffer& buffer, HelpPage::Run const& run,
                      Glib::ustring const& blockTag)
{
   std::vector<Glib::ustring> tags = {blockTag};
   if (run.look != HelpPage::PLAIN) {
      tags.push_back(RUN_TAGS.at(run.look));
   }
   int const begin = buffer.get_char_count();
   buffer.insert_with_tags_by_name(buffer.end(), run.text, tags);
   if (run.look == HelpPage::LINK) {
      links.push_back({begin, buffer.get_char_count(), run.target});
   }
}

int HelpView::GetPlace()
{
   return get_buffer()->get_insert()->get_iter().get_offset();
}

void HelpView::SetPlace(int place)
{
   get_buffer()->place_cursor(get_buffer()->get_iter_at_offset(place));
   scroll_to(get_buffer()->get_insert(), SCROLL_MARGIN);
}

HelpView::Link const* HelpView::FindLink(int place) const
{
   auto const found = std::find_if(links.begin(), links.end(), [place](Link const& link) {
      return place >= link.begin && place < link.end;
   });
   return found == links.end() ? nullptr : &*found;
}

// In coordinates of the window.
HelpView::Link const* HelpView::FindLinkAt(double x, double y)
{
   int column = 0;
   int row = 0;
   window_to_buffer_coords(Gtk::TEXT_WINDOW_TEXT, static_cast<int>(x), static_cast<int>(y), column,
                           row);
   Gtk::TextIter place;
   // Not beside a line, where the nearest character is meant.
   bool const isText =
      gtk_text_view_get_iter_at_location(gobj(), place.gobj(), column, row) != FALSE;
   return isText ? FindLink(place.get_offset()) : nullptr;
}

// False if there is no further link.
bool HelpView::MoveToLink(bool isForward)
{
   int const place = GetPlace();
   bool const isOnLink = get_buffer()->get_has_selection();
   auto const isNext = [place, isOnLink](Link const& link) {
      return link.begin > place || (link.begin == place && !isOnLink);
   };
   auto const isPrevious = [place](Link const& link) { return link.begin < place; };
   auto const next = std::find_if(links.begin(), links.end(), isNext);
   auto const previous = std::find_if(links.rbegin(), links.rend(), isPrevious);
   if (isForward ? next == links.end() : previous == links.rend()) {
      return false;
   }
   Link const& link = isForward ? *next : *previous;
   auto const buffer = get_buffer();
   buffer->select_range(buffer->get_iter_at_offset(link.begin),
                        buffer->get_iter_at_offset(link.end));
   scroll_to(buffer->get_insert(), SCROLL_MARGIN);
   return true;
}

// A handler may show another page.
bool HelpView::Follow(Link const* link)
{
   if (!link) {
      return false;
   }
   std::string const target = link->target;
   linkFollowed.emit(target);
   return true;
}

bool HelpView::on_key_press_event(GdkEventKey* event)
{
   if (IsTab(event->keyval) && IsPlain(*event, GDK_SHIFT_MASK)) {
      bool const isForward = (event->state & GDK_SHIFT_MASK) == 0;
      return MoveToLink(isForward) || Gtk::TextView::on_key_press_event(event);
   }
   if (IsFollow(event->keyval) && IsPlain(*event, 0) && Follow(FindLink(GetPlace()))) {
      return true;
   }
   return Gtk::TextView::on_key_press_event(event);
}

bool HelpView::on_motion_notify_event(GdkEventMotion* event)
{
   bool const result = Gtk::TextView::on_motion_notify_event(event);
   if (auto const window = get_window(Gtk::TEXT_WINDOW_TEXT)) {
      window->set_cursor(
         Gdk::Cursor::create(get_display(), FindLinkAt(event->x, event->y) ? "pointer" : "text"));
   }
   return result;
}

// Text that was selected with the mouse is no click.
void HelpView::OnEventAfter(GdkEvent* event)
{
   if (event->type == GDK_BUTTON_RELEASE && event->button.button == GDK_BUTTON_PRIMARY &&
       !get_buffer()->get_has_selection()) {
      Follow(FindLinkAt(event->button.x, event->button.y));
   }
}

} // namespace lui
