// SPDX-License-Identifier: GPL-2.0-or-later
#include "lui/fieldText.hh"

#include <algorithm>
#include <charconv>

namespace lui {

namespace {

bool IsDigit(char character)
{
   return character >= '0' && character <= '9';
}

std::string WithoutLeadingZeros(std::string const& digits)
{
   std::size_t const first = digits.find_first_not_of('0');
   if (first == std::string::npos) {
      return digits.empty() ? "" : "0";
   }
   return digits.substr(first);
}

std::vector<std::string> Split(std::string_view text, char separator)
{
   std::vector<std::string> parts(1);
   for (char const character : text) {
      if (character == separator) {
         parts.emplace_back();
      } else {
         parts.back() += character;
      }
   }
   return parts;
}

std::string Join(std::vector<std::string> const& fields, char separator)
{
   std::string text = fields.front();
   for (std::size_t field = 1; field < fields.size(); ++field) {
      text += separator + fields[field];
   }
   return text;
}

} // namespace

FieldText::FieldText(unsigned int fieldCount, char fieldSeparator, unsigned int digits,
                     unsigned int value)
   : separator(fieldSeparator), maxDigits(digits), maxValue(value), fields(fieldCount)
{}

bool FieldText::IsBlank() const
{
   return std::all_of(fields.begin(), fields.end(),
                      [](std::string const& field) { return field.empty(); });
}

std::string FieldText::Show() const
{
   return IsBlank() && !isOpen ? "" : Join(fields, separator);
}

std::string FieldText::Read() const
{
   if (IsBlank()) {
      return "";
   }
   std::vector<std::string> values;
   std::transform(fields.begin(), fields.end(), std::back_inserter(values), WithoutLeadingZeros);
   return Join(values, separator);
}

FieldText::Place FieldText::Locate(int position) const
{
   unsigned int rest = static_cast<unsigned int>(std::max(position, 0));
   unsigned int field = 0;
   while (field + 1 < fields.size() && rest > fields[field].size()) {
      rest -= static_cast<unsigned int>(fields[field].size()) + 1;
      ++field;
   }
   return {field, std::min(rest, static_cast<unsigned int>(fields[field].size()))};
}

int FieldText::PositionOf(Place place) const
{
   unsigned int position = place.offset + place.field;
   for (unsigned int field = 0; field < place.field; ++field) {
      position += static_cast<unsigned int>(fields[field].size());
   }
   return static_cast<int>(position);
}

bool FieldText::Accepts(std::string_view digits) const
{
   if (digits.size() > maxDigits || !std::all_of(digits.begin(), digits.end(), IsDigit)) {
      return false;
   }
   unsigned long value = 0;
   std::from_chars(digits.data(), digits.data() + digits.size(), value);
   return value <= maxValue;
}

std::optional<int> FieldText::Insert(std::string_view text, int position)
{
   if (ReplaceAll(text)) {
      return static_cast<int>(Show().size());
   }
   FieldText changed = *this;
   Place place = changed.Locate(position);
   for (char const character : text) {
      if (!changed.Type(character, place)) {
         return std::nullopt;
      }
   }
   *this = changed;
   return PositionOf(place);
}

bool FieldText::ReplaceAll(std::string_view text)
{
   std::vector<std::string> parts = Split(text, separator);
   bool const isWhole = parts.size() == fields.size() && fields.size() > 1 &&
                        std::all_of(parts.begin(), parts.end(),
                                    [this](std::string const& part) { return Accepts(part); });
   if (isWhole) {
      fields = parts;
      steppedTo.reset();
      Tidy();
   }
   return isWhole;
}

bool FieldText::Type(char character, Place& place)
{
   if (character == separator) {
      return TypeSeparator(place);
   }
   return IsDigit(character) && TypeDigit(character, place);
}

bool FieldText::TypeDigit(char digit, Place& place)
{
   bool const isBehindFull = place.offset == maxDigits;
   if (isBehindFull && place.field + 1 < fields.size() && fields[place.field + 1].empty()) {
      StepOn(place, true);
   }
   std::string digits = fields[place.field];
   digits.insert(place.offset, 1, digit);
   if (!Accepts(digits)) {
      return false;
   }
   fields[place.field] = digits;
   steppedTo.reset();
   ++place.offset;
   if (place.offset == maxDigits && place.field + 1 < fields.size()) {
      StepOn(place, true);
   }
   return true;
}

bool FieldText::TypeSeparator(Place& place)
{
   if (steppedTo == PositionOf(place)) {
      steppedTo.reset();
      return true;
   }
   if (place.field + 1 >= fields.size()) {
      return false;
   }
   StepOn(place, false);
   return true;
}

void FieldText::StepOn(Place& place, bool isByItself)
{
   std::string& field = fields[place.field];
   field = WithoutLeadingZeros(field);
   isOpen = true;
   place = {place.field + 1, 0};
   steppedTo.reset();
   if (isByItself) {
      steppedTo = PositionOf(place);
   }
}

int FieldText::Delete(int start, int end, int cursor)
{
   std::string const shown = Show();
   start = std::clamp(start, 0, static_cast<int>(shown.size()));
   end = std::clamp(end, start, static_cast<int>(shown.size()));
   std::string left;
   int removedBefore = 0;
   for (int position = 0; position < static_cast<int>(shown.size()); ++position) {
      char const character = shown[static_cast<unsigned int>(position)];
      if (position < start || position >= end || character == separator) {
         left += character;
      } else if (position < cursor) {
         ++removedBefore;
      }
   }
   bool const isStep = left.size() == shown.size();
   if (!isStep) {
      fields = Split(left, separator);
   }
   bool const isWithin = start <= cursor && cursor <= end;
   if (isStep && isWithin) {
      cursor = cursor == end ? start : end;
   } else {
      cursor = isWithin ? start : cursor - removedBefore;
   }
   steppedTo.reset();
   isOpen = !IsBlank() || FieldAt(cursor) > 0;
   return isOpen ? cursor : 0;
}

void FieldText::Tidy()
{
   std::transform(fields.begin(), fields.end(), fields.begin(), WithoutLeadingZeros);
   isOpen = false;
   steppedTo.reset();
}

} // namespace lui
