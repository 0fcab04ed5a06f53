// SPDX-License-Identifier: GPL-2.0-or-later
#include "lui/fieldEntry.hh"

#include "cui/weakPtr.hh"

#include <algorithm>
#include <pangomm/attributes.h>
#include <pangomm/layout.h>

namespace lui {

namespace {

// The characters of text that are the same in both, counted from the front.
unsigned long CountEqual(Glib::ustring const& left, Glib::ustring const& right)
{
   auto const ends =
      std::mismatch(left.raw().begin(), left.raw().end(), right.raw().begin(), right.raw().end());
   return static_cast<unsigned long>(ends.first - left.raw().begin());
}

unsigned long CountEqualAtEnd(Glib::ustring const& left, Glib::ustring const& right,
                              unsigned long limit)
{
   auto const ends = std::mismatch(left.raw().rbegin(), left.raw().rend(), right.raw().rbegin(),
                                   right.raw().rend());
   return std::min(static_cast<unsigned long>(ends.first - left.raw().rbegin()), limit);
}

} // namespace

FieldEntry::FieldEntry(unsigned int fieldCount, char separator, unsigned int maxDigits,
                       unsigned int maxValue)
   : model(fieldCount, separator, maxDigits, maxValue)
{
   set_width_chars(static_cast<int>(fieldCount * (maxDigits + 1)));
   set_activates_default(true);
   property_input_purpose() = Gtk::INPUT_PURPOSE_NUMBER;
   signal_insert_text().connect(sigc::mem_fun(*this, &FieldEntry::OnInsertText), false);
   signal_delete_text().connect(sigc::mem_fun(*this, &FieldEntry::OnDeleteText), false);
   property_cursor_position().signal_changed().connect(
      sigc::mem_fun(*this, &FieldEntry::OnCursorMoved));
}

FieldEntry::~FieldEntry()
{
   // A signal that dies while it is being emitted forgets to free its slots' bookkeeping.
   fieldChanged.clear();
   inputRefused.clear();
}

Glib::ustring FieldEntry::GetText() const
{
   return model.Read();
}

std::string FieldEntry::Clean(Glib::ustring const& text) const
{
   return CleanFields(text, model.GetSeparator());
}

// Digits of every script count, and so do the full stops and commas that keyboards and input
// methods give in a dot's place.
std::string FieldEntry::CleanFields(Glib::ustring const& text, char separator)
{
   std::string cleaned;
   for (gunichar const character : text) {
      int const digit = g_unichar_digit_value(character);
      if (digit >= 0) {
         cleaned += static_cast<char>('0' + digit);
      } else if (Glib::ustring(".,\u066B\u3002\uFF0E\uFF61").find(character) !=
                 Glib::ustring::npos) {
         cleaned += separator;
      } else if (!g_unichar_isspace(character) && g_unichar_type(character) != G_UNICODE_FORMAT) {
         cleaned += character < 0x80 ? static_cast<char>(character) : '?';
      }
   }
   return cleaned;
}

void FieldEntry::OnInsertText(Glib::ustring const& text, int* position)
{
   if (isShowing) {
      return;
   }
   g_signal_stop_emission_by_name(gobj(), "insert-text");
   std::vector<std::string> const before = model.GetFields();
   std::string const cleaned = Clean(text);
   std::optional<int> const cursor =
      cleaned.empty() && !text.empty() ? std::nullopt : model.Insert(cleaned, *position);
   if (!cursor) {
      error_bell();
      inputRefused.emit();
      return;
   }
   *position = *cursor;
   Show(*cursor);
   EmitChanges(before);
}

void FieldEntry::OnDeleteText(int start, int end)
{
   if (isShowing) {
      return;
   }
   g_signal_stop_emission_by_name(gobj(), "delete-text");
   std::vector<std::string> const before = model.GetFields();
   int const length = static_cast<int>(get_text_length());
   int selectionStart = 0;
   int selectionEnd = 0;
   bool const isSelected = get_selection_bounds(selectionStart, selectionEnd);
   int const last = end < 0 ? length : end;
   // An overwriting cursor stays in its field.
   bool const isOverwriting = get_overwrite_mode() && !isSelected && get_position() == start;
   int const cursor = model.Delete(start, last, isSelected ? last : get_position());
   Show(isOverwriting ? std::min(cursor, start) : cursor);
   EmitChanges(before);
}

void FieldEntry::OnCursorMoved()
{
   if (!isShowing && model.GetStep() && *model.GetStep() != get_position()) {
      model.ForgetStep();
   }
}

// Brings the entry in line with the model.
void FieldEntry::Show(int cursor)
{
   isShowing = true;
   ReplaceShown(model.Show());
   set_position(cursor);
   isShowing = false;
   SpaceBlankFields();
   KeepLeftToRight();
}

// Only what differs, so that a screen reader tells no more than that.
void FieldEntry::ReplaceShown(Glib::ustring const& newText)
{
   Glib::ustring const oldText = get_text();
   if (oldText == newText) {
      return;
   }
   unsigned long const shorter = std::min(oldText.bytes(), newText.bytes());
   unsigned long const front = CountEqual(oldText, newText);
   unsigned long const back = CountEqualAtEnd(oldText, newText, shorter - front);
   int const oldEnd = static_cast<int>(oldText.bytes() - back);
   if (oldEnd > static_cast<int>(front)) {
      delete_text(static_cast<int>(front), oldEnd);
   }
   Glib::ustring const added = newText.substr(front, newText.bytes() - back - front);
   if (!added.empty()) {
      int position = static_cast<int>(front);
      insert_text(added, static_cast<int>(added.bytes()), position);
   }
}

void FieldEntry::EmitChanges(std::vector<std::string> const& before)
{
   cui::WeakPtr<FieldEntry> const self(this);
   std::vector<std::string> const after = model.GetFields();
   for (unsigned int field = 0; self && field < after.size(); ++field) {
      if (after[field] != before[field]) {
         fieldChanged.emit(field);
      }
   }
}

// A blank field would leave its separators side by side; they keep some room for it. Attributes
// cost a layout of the whole window, so none are set in none's place.
void FieldEntry::SpaceBlankFields()
{
   std::vector<unsigned int> const places = FindBlankPlaces();
   if (places.empty() && !isSpaced) {
      return;
   }
   isSpaced = !places.empty();
   int width = 0;
   int height = 0;
   create_pango_layout("0")->get_size(width, height);
   Pango::AttrList spacing;
   for (unsigned int const place : places) {
      Pango::Attribute wide = Pango::Attribute::create_attr_letter_spacing(width);
      wide.set_start_index(place);
      wide.set_end_index(place + 1);
      spacing.insert(wide);
   }
   set_attributes(spacing);
}

std::vector<unsigned int> FieldEntry::FindBlankPlaces() const
{
   std::vector<unsigned int> places;
   std::vector<std::string> const& fields = model.GetFields();
   unsigned int place = 0;
   for (unsigned int field = 0; field + 1 < fields.size() && get_text_length() > 0; ++field) {
      place += static_cast<unsigned int>(fields[field].size());
      if (fields[field].empty() || fields[field + 1].empty()) {
         places.push_back(place);
      }
      ++place;
   }
   return places;
}

bool FieldEntry::on_focus_out_event(GdkEventFocus* event)
{
   model.Tidy();
   Show(get_position());
   return LeftToRightEntry::on_focus_out_event(event);
}

void FieldEntry::on_style_updated()
{
   LeftToRightEntry::on_style_updated();
   SpaceBlankFields();
}

} // namespace lui
