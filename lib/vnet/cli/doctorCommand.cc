// SPDX-License-Identifier: GPL-2.0-or-later
// What is wrong, and what helps.
#include "vnet/cli/networkFacts.hh"
#include "vnet/cli/program.hh"
#include "vnet/doctor/doctor.hh"
#include "vnet/values/error.hh"

namespace vnet::cli {

namespace {

using doctor::Examination;
using doctor::Finding;

json::Value MakeFindings(Examination const& examination)
{
   auto list = json::Value::MakeList();
   for (auto const& [cause, network, text, remedy] : examination.findings) {
      auto object = json::Value::MakeObject();
      object.Add("cause", cause);
      object.Add("network", network ? json::Value(GetNetworkName(*network)) : json::Value());
      object.Add("text", text);
      list.Add(
         std::move(object.Add("remedy", remedy.empty() ? json::Value() : json::Value(remedy))));
   }
   return std::move(json::Value::MakeObject()
                       .Add("findings", std::move(list))
                       .Add("complete", examination.complete));
}

std::string DescribeFinding(Finding const& finding, Paint const& paint)
{
   auto const object = finding.network ? GetNetworkName(*finding.network) : "all networks";
   auto text =
      paint.Bad(object + ": " + finding.cause) + "\n  " + MakePrintable(finding.text) + "\n";
   if (!finding.remedy.empty()) {
      text += "  " + paint.Strong(MakePrintable(finding.remedy)) + "\n";
   }
   return text;
}

std::string DescribeFindings(Examination const& examination, Paint const& paint)
{
   std::string text;
   for (auto const& finding : examination.findings) {
      text += DescribeFinding(finding, paint);
   }
   return text.empty() ? paint.Good("Nothing was found.") + "\n" : text;
}

// Without a database there is nothing else to examine.
Examination Blame(std::string const& text, std::string const& remedy)
{
   Examination examination;
   examination.findings.push_back({"database", {}, text + ".", remedy});
   return examination;
}

} // namespace

int Program::Doctor(std::vector<unsigned int> const& networks)
{
   auto const examination = Examine({networks.begin(), networks.end()});
   for (auto const& complaint : examination.complaints) {
      output.Complain(complaint);
   }
   if (!examination.complete) {
      output.Complain("Root sees more: services, rules of others, and differences");
   }
   if (output.json) {
      output.TellJson(MakeFindings(examination));
   } else {
      output.Tell(DescribeFindings(examination, output.paint));
   }
   if (!examination.findings.empty()) {
      return status::found;
   }
   return examination.complaints.empty() ? status::fine : status::failure;
}

doctor::Examination Program::Examine(std::set<unsigned int> const& named)
{
   if (GetStamp(databasePlace.file) == Stamp()) {
      return Blame("There is no database " + databasePlace.file,
                   "tavrin-vnets init && tavrin-vnets start");
   }
   Settings settings;
   try {
      settings = ReadSettings();
   } catch (Error const& error) {
      return Blame(error.what(), "tavrin-vnets check");
   }
   return doctor::Examine(place, {}, settings, named.empty() ? GetNetworks(settings) : named);
}

} // namespace vnet::cli
