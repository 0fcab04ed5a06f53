// SPDX-License-Identifier: GPL-2.0-or-later
#include "mgrTest.hh"

#include <boost/property_tree/exceptions.hpp>
#include <csignal>

namespace netcfg {

namespace {

void* RaiseFlag(void* flag)
{
   *static_cast<bool*>(flag) = true;
   return nullptr;
}

// A manager whose model it may rebuild; what it holds at the end is deleted.
class RebuildTest : public MgrTest {
protected:
   RebuildTest() { editable.release()->add_destroy_notify_callback(&deleted, &RaiseFlag); }
   ~RebuildTest() override { delete mgr.GetEditable(); }

   static utf::string MakeSnapshot(unsigned int maxNetworks)
   {
      Editable const model(maxNetworks);
      return Editable::Serialize(&model);
   }

   bool deleted = false;
};

TEST_F(MgrTest, NeitherTheConstructorNorTheDestructorCallsTheLibrary)
{
   {
      Mgr const other(editable.get());
      EXPECT_EQ(editable.get(), other.GetEditable());
   }
   EXPECT_EQ(256u, editable->GetMaxNetworks()) << "the model outlives its manager";
   EXPECT_EQ(Lines{}, VnetDouble::GetLog());
}

TEST_F(RebuildTest, PutsTheModelOfTheSnapshotInThePlaceOfTheOldOne)
{
   mgr.RebuildEditable(MakeSnapshot(7));

   EXPECT_TRUE(deleted);
   ASSERT_TRUE(mgr.GetEditable());
   EXPECT_EQ(7u, mgr.GetEditable()->GetMaxNetworks());
   EXPECT_EQ(Lines{}, VnetDouble::GetLog());
}

TEST_F(RebuildTest, TextThatIsNotJsonLeavesNoModel)
{
   mgr.RebuildEditable("nonsense");

   EXPECT_TRUE(deleted);
   EXPECT_EQ(nullptr, mgr.GetEditable());
}

TEST_F(RebuildTest, JsonWithoutARequiredKeyThrowsAndLeavesNoModel)
{
   EXPECT_THROW(mgr.RebuildEditable("{}"), boost::property_tree::ptree_error);

   EXPECT_TRUE(deleted);
   EXPECT_EQ(nullptr, mgr.GetEditable());
}

TEST_F(RebuildTest, ManagerWithoutAModelTakesANewOne)
{
   mgr.RebuildEditable("nonsense");
   mgr.RebuildEditable(MakeSnapshot(3));

   ASSERT_TRUE(mgr.GetEditable());
   EXPECT_EQ(3u, mgr.GetEditable()->GetMaxNetworks());
}

TEST_F(MgrTest, UnloadUnloads)
{
   mgr.Unload();

   EXPECT_EQ(Lines{"VNL_Unload()"}, VnetDouble::GetLog());
   EXPECT_FALSE(VnetDouble::IsLoaded());
}

class MissingModelTest : public testing::TestWithParam<bool> {};

// The double's calls would stand before the panic's text.
TEST_P(MissingModelTest, EndsTheProcessBeforeAnyCall)
{
   auto const save = [] {
      VnetDouble::SetTrace(2);
      Mgr mgr(nullptr);
      GetParam() ? mgr.Save() : mgr.SaveToBuffer();
   };
   EXPECT_EXIT(save(), testing::KilledBySignal(SIGABRT),
               "^NOT_REACHED tvnetcfg/mgr/save:[0-9]+\n$");
}

INSTANTIATE_TEST_SUITE_P(BothModes, MissingModelTest, testing::Bool());

} // namespace

} // namespace netcfg
