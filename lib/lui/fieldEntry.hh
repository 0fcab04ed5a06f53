// SPDX-License-Identifier: GPL-2.0-or-later
// An entry of numeric fields with separators between them, in one text.
#pragma once

#include "lui/fieldText.hh"
#include "lui/leftToRightEntry.hh"

#include <pangomm/attrlist.h>

namespace lui {

// The entry's text is what it shows, so cursor keys, selecting, copying and screen readers find
// nothing unusual: "" if all is blank, otherwise all fields with all separators ("192.168..").
// A field ends by itself when it's full, or at a separator. Backspace and Delete step over a
// separator. What doesn't fit is refused with a beep, as a whole.
class FieldEntry : public LeftToRightEntry {
public:
   // Emitted after a field changed, with its number from 0.
   sigc::signal<void, unsigned int> fieldChanged;
   // Emitted when something typed, pasted or set was refused.
   sigc::signal<void> inputRefused;

   // At least one field; each holds up to maxDigits digits that aren't above maxValue.
   FieldEntry(unsigned int fieldCount, char separator, unsigned int maxDigits,
              unsigned int maxValue);
   ~FieldEntry() override;

   // The whole text without leading zeros; "" if all fields are blank, otherwise with all
   // separators, so that a blank field stands between two of them.
   Glib::ustring GetText() const;

protected:
   // Turns what a user may type or paste into digits and separators; what is left of it that is
   // neither will be refused.
   virtual std::string Clean(Glib::ustring const& text) const;
   // The same with this separator, for any number of fields.
   static std::string CleanFields(Glib::ustring const& text, char separator);

   bool on_focus_out_event(GdkEventFocus* event) override;
   void on_style_updated() override;

private:
   void OnInsertText(Glib::ustring const& text, int* position);
   void OnDeleteText(int start, int end);
   void OnCursorMoved();
   void Show(int cursor);
   void ReplaceShown(Glib::ustring const& newText);
   void EmitChanges(std::vector<std::string> const& before);
   void SpaceBlankFields();
   // Of the separators beside blank fields, in the text.
   std::vector<unsigned int> FindBlankPlaces() const;

   FieldText model;
   // While the entry's text is being brought in line with the model.
   bool isShowing = false;
   bool isSpaced = false; // some separators have room
};

} // namespace lui
