// SPDX-License-Identifier: GPL-2.0-or-later
// A JSON value (RFC 8259) that remembers where it stood.
#pragma once

#include <concepts>
#include <string>
#include <vector>

namespace vnet::json {

enum class Kind { Null, Boolean, Number, Text, List, Object };

// Of a value's first character, both from 1; 0 if it wasn't read from a text.
struct Position {
   unsigned int line = 0;
   unsigned int column = 0; // in bytes
};

struct Member;

// Members and items stand in the order in which they were added or read. A name may stand twice:
// that is for the reader to judge.
struct Value {
   Kind kind = Kind::Null;
   bool boolean = false;
   std::string text; // of a text in UTF-8, or of a number as it is written
   std::vector<Value> items;
   std::vector<Member> members;
   Position position;

   Value() = default;
   Value(std::string content) : kind(Kind::Text), text(std::move(content)) {}
   Value(char const* content) : Value(std::string(content)) {}
   Value(std::same_as<bool> auto content) : kind(Kind::Boolean), boolean(content) {}
   Value(std::integral auto content) requires(!std::same_as<decltype(content), bool>)
      : kind(Kind::Number), text(std::to_string(content))
   {}

   static Value MakeList();
   static Value MakeList(std::vector<std::string> const& texts);
   static Value MakeObject();

   // To an object, and to a list. They return this one.
   Value& Add(std::string name, Value value);
   Value& Add(Value item);
};

struct Member {
   std::string name;
   Position position; // of the name
   Value value;
};

} // namespace vnet::json
