// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/json/value.hh"

namespace vnet::json {

Value Value::MakeList()
{
   Value list;
   list.kind = Kind::List;
   return list;
}

Value Value::MakeList(std::vector<std::string> const& texts)
{
   auto list = MakeList();
   for (auto const& text : texts) {
      list.Add(text);
   }
   return list;
}

Value Value::MakeObject()
{
   Value object;
   object.kind = Kind::Object;
   return object;
}

Value& Value::Add(std::string name, Value value)
{
   members.push_back({std::move(name), {}, std::move(value)});
   return *this;
}

Value& Value::Add(Value item)
{
   items.push_back(std::move(item));
   return *this;
}

} // namespace vnet::json
