// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/cli/output.hh"

#include "vnet/json/text.hh"

namespace vnet::cli {

void Output::TellJson(json::Value const& value)
{
   results << json::Write(value);
}

void Output::Complain(std::string const& text)
{
   errors << "tavrin-vnets: " << text << '\n';
   complaints.push_back(text);
}

void Output::TellEnd(bool done)
{
   if (json) {
      TellJson(json::Value::MakeObject()
                  .Add("done", done)
                  .Add("failures", json::Value::MakeList(complaints)));
   }
}

} // namespace vnet::cli
