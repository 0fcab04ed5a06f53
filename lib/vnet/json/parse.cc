// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/json/text.hh"

#include <algorithm>
#include <cctype>
#include <iterator>
#include <nlohmann/json.hpp>
#include <stdexcept>

namespace vnet::json {

namespace {

using Reader = nlohmann::json;

// Tells how far the reader came, which it doesn't tell itself but of errors.
struct Cursor {
   using iterator_category = std::input_iterator_tag;
   using value_type = char;
   using difference_type = std::ptrdiff_t;
   using pointer = char const*;
   using reference = char const&;

   char const* at;
   std::size_t* passed;

   reference operator*() const { return *at; }
   Cursor& operator++()
   {
      ++at;
      ++*passed;
      return *this;
   }
   bool operator==(Cursor const& other) const { return at == other.at; }
   bool operator!=(Cursor const& other) const { return at != other.at; }
};

bool IsOfNumber(char character)
{
   return std::isalnum(static_cast<unsigned char>(character)) != 0 || character == '+' ||
          character == '-' || character == '.';
}

[[noreturn]] void Fail(Position const& position, std::string const& cause)
{
   throw std::runtime_error(ToString(position) + ": " + cause);
}

class Builder final : public Reader::json_sax_t {
public:
   explicit Builder(std::string_view whole);

   std::size_t passed = 0;
   // The reader takes a NUL for the end of the text, and would leave out what is behind it.
   void RefuseNul() const;
   Value Take() { return std::move(root.items.front()); }

   bool null() override { return Put(Value(), FindWord()); }
   bool boolean(bool value) override { return Put(Value(value), FindWord()); }
   bool number_integer(number_integer_t value) override { return Put(Value(value), FindWord()); }
   bool number_unsigned(number_unsigned_t value) override { return Put(Value(value), FindWord()); }
   bool number_float(number_float_t value, string_t const& written) override;
   bool string(string_t& value) override { return Put(Value(value), FindQuoted()); }
   bool binary(binary_t& value) override;
   bool key(string_t& name) override;
   bool start_object(std::size_t count) override;
   bool start_array(std::size_t count) override;
   bool end_object() override { return Close(); }
   bool end_array() override { return Close(); }
   bool parse_error(std::size_t at, std::string const& token,
                    Reader::exception const& error) override;

private:
   std::string_view const text;
   std::vector<std::size_t> lines; // where each begins
   Value root = Value::MakeList();
   // Each is the last thing in the one before, so that none moves while it is open.
   std::vector<Value*> open{&root};
   std::size_t count = 0;

   Position Locate(std::size_t offset) const;
   Position FindQuoted() const;
   Position FindWord() const;
   Value& Append(Value value, Position position);
   bool Put(Value value, Position position);
   bool Open(Value value);
   bool Close();
};

Builder::Builder(std::string_view whole) : text(whole), lines{0}
{
   for (std::size_t at = 0; at < text.size(); ++at) {
      if (text[at] == '\n') {
         lines.push_back(at + 1);
      }
   }
}

void Builder::RefuseNul() const
{
   if (auto const nul = text.find('\0'); nul != std::string_view::npos) {
      Fail(Locate(nul), "There is a NUL");
   }
}

Position Builder::Locate(std::size_t offset) const
{
   auto const next = std::ranges::upper_bound(lines, offset);
   auto const line = static_cast<std::size_t>(next - lines.begin());
   return {static_cast<unsigned int>(line),
           static_cast<unsigned int>(offset - lines[line - 1] + 1)};
}

// The string whose closing quotation mark was read last. Within it every such mark has a backslash
// before it.
Position Builder::FindQuoted() const
{
   std::size_t at = passed - 1;
   for (bool escaped = true; escaped && at > 0;) {
      at = text.rfind('"', at - 1);
      auto const before = at == 0 ? std::string_view::npos : text.find_last_not_of('\\', at - 1);
      auto const backslashes = at - (before == std::string_view::npos ? 0 : before + 1);
      escaped = backslashes % 2 != 0;
   }
   return Locate(at);
}

// The number or word that was read last. A number ends where the next character was looked at.
Position Builder::FindWord() const
{
   std::size_t at = passed;
   if (at > 0 && !IsOfNumber(text[at - 1])) {
      --at;
   }
   while (at > 0 && IsOfNumber(text[at - 1])) {
      --at;
   }
   return Locate(at);
}

Value& Builder::Append(Value value, Position position)
{
   value.position = position;
   auto& parent = *open.back();
   if (++count > maxValues) {
      Fail(position, "There are more than " + std::to_string(maxValues) + " values");
   }
   if (parent.kind == Kind::Object) {
      parent.members.back().value = std::move(value);
      return parent.members.back().value;
   }
   parent.items.push_back(std::move(value));
   return parent.items.back();
}

bool Builder::Put(Value value, Position position)
{
   Append(std::move(value), position);
   return true;
}

bool Builder::Open(Value value)
{
   auto const position = Locate(passed - 1);
   if (open.size() > maxDepth) {
      Fail(position, "It is nested more than " + std::to_string(maxDepth) + " deep");
   }
   open.push_back(&Append(std::move(value), position));
   return true;
}

bool Builder::Close()
{
   open.pop_back();
   return true;
}

bool Builder::number_float(number_float_t, string_t const& written)
{
   auto const position = FindWord();
   Value value;
   value.kind = Kind::Number;
   value.text = written;
   return Put(std::move(value), position);
}

// Of other formats that the reader knows.
bool Builder::binary(binary_t&)
{
   return false;
}

bool Builder::key(string_t& name)
{
   open.back()->members.push_back({name, FindQuoted(), {}});
   return true;
}

bool Builder::start_object(std::size_t)
{
   return Open(Value::MakeObject());
}

bool Builder::start_array(std::size_t)
{
   return Open(Value::MakeList());
}

bool Builder::parse_error(std::size_t, std::string const&, Reader::exception const& error)
{
   // "[json.exception.parse_error.101] parse error at line 1, column 5: syntax error while parsing
   // value - invalid literal; last read: 'x'"; what was read last may hold anything.
   std::string words = error.what();
   words.erase(std::min(words.find("; last read: "), words.size()));
   auto const cause = words.find(": ");
   Fail(Locate(passed == 0 ? 0 : passed - 1),
        cause == std::string::npos ? words : words.substr(cause + 2));
}

} // namespace

std::string ToString(Position const& position)
{
   return "line " + std::to_string(position.line) + ", column " + std::to_string(position.column);
}

Value Parse(std::string_view text)
{
   Builder builder(text);
   builder.RefuseNul();
   Cursor const begin{text.data(), &builder.passed};
   Cursor const end{text.data() + text.size(), &builder.passed};
   if (!Reader::sax_parse(begin, end, &builder)) {
      throw std::runtime_error("It can't be read");
   }
   return builder.Take();
}

} // namespace vnet::json
