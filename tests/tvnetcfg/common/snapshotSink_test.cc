// SPDX-License-Identifier: GPL-2.0-or-later
#include "tvnetcfg/common/snapshotSink.hh"

#include "tvnetcfg/common/editable.hh"
#include "tvnetcfg/common/randomModel.hh"

#include <boost/property_tree/json_parser.hpp>
#include <gtest/gtest.h>
#include <sstream>

namespace netcfg::common {

namespace {

using boost::property_tree::ptree;

ptree Read(std::string const& text)
{
   std::istringstream stream(text);
   ptree tree;
   boost::property_tree::read_json(stream, tree);
   return tree;
}

std::string Write(ptree const& tree)
{
   std::ostringstream stream;
   boost::property_tree::write_json(stream, tree, false);
   return stream.str();
}

// Groups, lists, empty ones, and a list of groups.
void Fill(SnapshotSink& sink)
{
   sink.PutValue("Number", -1);
   sink.Open("Group");
   sink.PutValue("Switch", true);
   sink.Open("Nothing");
   sink.Close();
   sink.Open("List");
   sink.PutText("", "one /");
   sink.PutText("", "");
   sink.Close();
   sink.Close();
   sink.Open("Groups");
   for (auto const* text : {"a", "b"}) {
      sink.Open("");
      sink.PutText("Text", text);
      sink.Close();
   }
   sink.Close();
}

constexpr char filled[] =
   "{\"Number\":\"-1\",\"Group\":{\"Switch\":\"true\",\"Nothing\":\"\",\"List\":[\"one "
   "\\/\",\"\"]},\"Groups\":[{\"Text\":\"a\"},{\"Text\":\"b\"}]}\n";

} // namespace

TEST(SnapshotSinkTest, TheTextIsTheOneOfTheTree)
{
   SnapshotText text;
   Fill(text);
   EXPECT_EQ(filled, text.Take());
   SnapshotTree tree;
   Fill(tree);
   auto const taken = tree.Take();
   EXPECT_EQ(filled, Write(taken));
   EXPECT_EQ(Read(filled), taken);
}

TEST(SnapshotSinkTest, ANulEndsATextOfTheModel)
{
   SnapshotText text;
   text.PutText("Text", utf::string("a\0b", 3));
   EXPECT_EQ("{\"Text\":\"a\"}\n", text.Take());
}

// A network's tree is its part of the text.
TEST(SnapshotSinkTest, ANetworksTreeIsThatOfItsText)
{
   for (unsigned int seed = 0; seed < 200; ++seed) {
      auto const model = RandomModel(seed).Make();
      auto const root = Read(Editable::Serialize(model.get()).c_str());
      for (auto const& [index, network] : model->GetNetworks()) {
         auto const& part = root.get_child("Networks." + std::to_string(index));
         EXPECT_EQ(part, network ? network->ToPropertyTree() : ptree("0")) << seed;
      }
   }
}

} // namespace netcfg::common
