// SPDX-License-Identifier: GPL-2.0-or-later
// The text of an entry that is made of numeric fields with separators between them, and what
// typing, pasting and deleting do to it. Knows no widget.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace lui {

// Reads "" while all fields are blank and the cursor is in the first, otherwise all fields with
// all separators: "192.168..". Separators are structure: they are stepped over, never deleted.
// All text is ASCII, and positions count characters of Show().
class FieldText {
public:
   // At least one field; each holds up to maxDigits digits that aren't above maxValue.
   FieldText(unsigned int fieldCount, char separator, unsigned int maxDigits,
             unsigned int maxValue);

   // What the entry shows.
   std::string Show() const;
   // What it means: "" if all fields are blank, without leading zeros otherwise.
   std::string Read() const;
   std::vector<std::string> const& GetFields() const { return fields; }
   char GetSeparator() const { return separator; }
   // The field that holds a position of Show().
   unsigned int FieldAt(int position) const { return Locate(position).field; }

   // Inserts cleaned text. A whole set of fields replaces everything; anything else goes in
   // character by character. The result is the cursor's new position; nothing changes and there is
   // no result if a character doesn't fit.
   std::optional<int> Insert(std::string_view text, int position);
   // Deletes the digits from start to end, and gives the cursor's new position. With nothing but
   // separators to delete the cursor steps over them, to the side where it wasn't.
   int Delete(int start, int end, int cursor);
   // Takes leading zeros off all fields, and the separators away if all are blank.
   void Tidy();
   // The cursor went elsewhere by itself: a separator counts again.
   void ForgetStep() { steppedTo.reset(); }
   std::optional<int> GetStep() const { return steppedTo; }

private:
   struct Place {
      unsigned int field;
      unsigned int offset;
   };

   Place Locate(int position) const;
   int PositionOf(Place place) const;
   bool IsBlank() const;
   bool Accepts(std::string_view digits) const;
   bool ReplaceAll(std::string_view text);
   bool Type(char character, Place& place);
   bool TypeDigit(char digit, Place& place);
   bool TypeSeparator(Place& place);
   void StepOn(Place& place, bool isByItself);

   char separator;
   unsigned int maxDigits;
   unsigned int maxValue;
   std::vector<std::string> fields;
   // Whether the separators show although all fields are blank.
   bool isOpen = false;
   // Where the cursor went by itself when a field was full: a separator typed there is the one
   // that the user thinks is still missing.
   std::optional<int> steppedTo;
};

} // namespace lui
