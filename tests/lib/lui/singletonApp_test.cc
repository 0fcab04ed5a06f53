// SPDX-License-Identifier: GPL-2.0-or-later
#include "lui/singletonApp.hh"

#include "lui/processWatch.hh"
#include "support/testProcess.hh"

#include <giomm/dbusconnection.h>
#include <giomm/init.h>
#include <gmock/gmock.h>
#include <map>

using test::Eventually;
using test::ExitedWith;
using test::TestProcess;
using testing::HasSubstr;
using testing::Not;

namespace {

constexpr char NAME[] = "org.tavrin.NetCfg";
constexpr char PATH[] = "/org/tavrin/NetCfg";
constexpr char INTERFACE[] = "org.freedesktop.Application";

// A session with a bus of its own.
class SingletonAppTest : public testing::Test {
protected:
   SingletonAppTest()
      : address("unix:path=" + (dir.GetPath() / "bus").string()),
        bus({"dbus-daemon", "--session", "--nofork", "--nopidfile", "--address=" + address,
             "--print-address"})
   {
      EXPECT_TRUE(Eventually([this] { return bus.GetOutput().find('\n') != std::string::npos; }))
         << bus.GetOutput();
   }

   TestProcess Launch(std::vector<std::string> options = {}, std::string const& busAddress = {})
   {
      options.insert(options.begin(), SINGLETON_INSTANCE);
      return TestProcess(options,
                         {{"DBUS_SESSION_BUS_ADDRESS", busAddress.empty() ? address : busAddress},
                          {"XDG_RUNTIME_DIR", runtimeDir.GetPath()}});
   }

   // Without a variable that tells of a bus; the runtime directory alone may.
   TestProcess LaunchWithRuntimeDir(std::filesystem::path const& directory)
   {
      return TestProcess({SINGLETON_INSTANCE},
                         {{"DBUS_SESSION_BUS_ADDRESS", ""}, {"XDG_RUNTIME_DIR", directory}});
   }

   static bool Says(TestProcess const& process, std::string const& line)
   {
      return Eventually([&] {
         return ("\n" + process.GetOutput()).find("\n" + line + "\n") != std::string::npos;
      });
   }

   static int GetChild(TestProcess const& process)
   {
      std::string const output = process.GetOutput();
      std::size_t const at = output.find("child ");
      return at == std::string::npos ? -1 : std::stoi(output.substr(at + 6));
   }

   // Calls a method of the first instance as a desktop does, and waits for the answer.
   void Call(char const* method, Glib::VariantContainerBase const& arguments)
   {
      Gio::init();
      auto const connection = Gio::DBus::Connection::create_for_address_sync(
         address, Gio::DBus::CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                     Gio::DBus::CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION);
      EXPECT_NO_THROW(connection->call_sync(PATH, INTERFACE, method, arguments, NAME, 20000));
      connection->close_sync();
   }

   test::TempDir dir;
   test::TempDir runtimeDir;
   std::string address;
   TestProcess bus;
};

using PlatformData = Glib::Variant<std::map<Glib::ustring, Glib::VariantBase>>;

} // namespace

TEST_F(SingletonAppTest, LaterLaunchesEndQuietlyAndTellTheFirst)
{
   TestProcess const first = Launch();
   ASSERT_TRUE(Says(first, "first"));

   TestProcess second = Launch({"data=one"});
   EXPECT_TRUE(ExitedWith(second.Wait(), 0));
   EXPECT_EQ("", second.GetOutput());
   EXPECT_TRUE(Says(first, "launched one"));

   TestProcess third = Launch({"data=B\u00fcro"});
   EXPECT_TRUE(ExitedWith(third.Wait(), 0));
   EXPECT_TRUE(Says(first, "launched B\u00fcro"));
}

TEST_F(SingletonAppTest, APlainLaunchHandsOverTheWishToBeShown)
{
   TestProcess const first = Launch();
   ASSERT_TRUE(Says(first, "first"));
   TestProcess second = Launch();
   EXPECT_TRUE(ExitedWith(second.Wait(), 0));
   EXPECT_TRUE(Says(first, std::string("launched ") + lui::SingletonApp::DEFAULT_DATA.c_str()));
}

TEST_F(SingletonAppTest, ASecondLaunchTakesItsUnansweredPromptAway)
{
   TestProcess const first = Launch();
   ASSERT_TRUE(Says(first, "first"));
   TestProcess second = Launch({"prompt=/bin/sleep"});
   EXPECT_TRUE(ExitedWith(second.Wait(), 0));
   lui::ProcessWatch const prompt(GetChild(second));
   bool const hasEnded = Eventually([&] { return prompt.HasEnded(); });
   EXPECT_TRUE(hasEnded);
   if (!hasEnded) {
      kill(prompt.Pid(), SIGKILL);
   }
}

TEST_F(SingletonAppTest, ASecondLaunchLeavesItsServerToNoticeByItself)
{
   TestProcess const first = Launch();
   ASSERT_TRUE(Says(first, "first"));
   TestProcess second = Launch({std::string("server=") + SERVER_STAND_IN});
   EXPECT_TRUE(ExitedWith(second.Wait(), 0));
   EXPECT_TRUE(Says(second, "client gone"));
   EXPECT_THAT(second.GetOutput(), Not(HasSubstr("terminated")));
}

TEST_F(SingletonAppTest, TheFirstLaunchKeepsItsPrompt)
{
   TestProcess const first = Launch({"prompt=/bin/sleep"});
   ASSERT_TRUE(Says(first, "first"));
   TestProcess second = Launch();
   EXPECT_TRUE(ExitedWith(second.Wait(), 0));
   ASSERT_TRUE(Says(first, "launched show"));
   lui::ProcessWatch const prompt(GetChild(first));
   EXPECT_FALSE(prompt.HasEnded());
   kill(prompt.Pid(), SIGKILL);
}

TEST_F(SingletonAppTest, ASecondLaunchEndsEvenIfTheFirstIsBusy)
{
   TestProcess const first = Launch({"busy"});
   ASSERT_TRUE(Says(first, "first"));
   TestProcess second = Launch({"data=later"});
   EXPECT_TRUE(ExitedWith(second.Wait(), 0));
   EXPECT_THAT(first.GetOutput(), Not(HasSubstr("launched")));
   first.Signal(SIGUSR1);
   EXPECT_TRUE(Says(first, "launched later"));
}

TEST_F(SingletonAppTest, WhereASecondIsAllowedItGoesOnAndTheFirstIsLeftAlone)
{
   TestProcess const first = Launch();
   ASSERT_TRUE(Says(first, "first"));
   TestProcess const second = Launch({"second", "prompt=/bin/sleep"});
   ASSERT_TRUE(Says(second, "alone"));
   lui::ProcessWatch const prompt(GetChild(second));
   EXPECT_FALSE(prompt.HasEnded());
   kill(prompt.Pid(), SIGKILL);

   TestProcess third = Launch({"data=third"});
   EXPECT_TRUE(ExitedWith(third.Wait(), 0));
   EXPECT_TRUE(Says(first, "launched third"));
   EXPECT_EQ("first\nlaunched third\n", first.GetOutput());
}

TEST_F(SingletonAppTest, TheNameIsFreeOnceTheFirstHasEnded)
{
   TestProcess first = Launch();
   ASSERT_TRUE(Says(first, "first"));
   first.Signal(SIGKILL);
   first.Wait();
   EXPECT_TRUE(Eventually([this] {
      TestProcess next = Launch();
      return Eventually([&] { return next.GetOutput() == "first\n"; }, test::Milliseconds(1000));
   }));
}

TEST_F(SingletonAppTest, TheNameIsGivenBackWithTheObject)
{
   TestProcess const first = Launch();
   ASSERT_TRUE(Says(first, "first"));
   first.Signal(SIGUSR2);
   ASSERT_TRUE(Says(first, "given back"));
   TestProcess const second = Launch();
   EXPECT_TRUE(Says(second, "first"));
}

TEST_F(SingletonAppTest, ADesktopsWaysToLaunchAreLaunches)
{
   TestProcess const first = Launch();
   ASSERT_TRUE(Says(first, "first"));
   PlatformData const platformData = PlatformData::create({});
   auto const uris = Glib::Variant<std::vector<Glib::ustring>>::create({});
   auto const parameters = Glib::Variant<std::vector<Glib::VariantBase>>::create({});
   auto const action = Glib::Variant<Glib::ustring>::create("preferences");

   Call("Activate", Glib::VariantContainerBase::create_tuple(platformData));
   Call("Open", Glib::VariantContainerBase::create_tuple({uris, platformData}));
   Call("ActivateAction",
        Glib::VariantContainerBase::create_tuple({action, parameters, platformData}));
   EXPECT_TRUE(Eventually([&] {
      return first.GetOutput() == "first\nlaunched show\nlaunched show\nlaunched show\n";
   })) << first.GetOutput();
}

TEST_F(SingletonAppTest, DataOfAnotherTypeIsNoData)
{
   TestProcess const first = Launch();
   ASSERT_TRUE(Says(first, "first"));
   Call("Activate", Glib::VariantContainerBase::create_tuple(
                       PlatformData::create({{"data", Glib::Variant<int>::create(7)}})));
   EXPECT_TRUE(Says(first, "launched show"));
}

TEST_F(SingletonAppTest, TheEndOfTheBusIsNotTheEndOfTheProgram)
{
   TestProcess first = Launch();
   ASSERT_TRUE(Says(first, "first"));
   bus.Signal(SIGKILL);
   bus.Wait();
   EXPECT_FALSE(first.Wait(test::Milliseconds(300)));
   first.Signal(SIGUSR2);
   EXPECT_TRUE(Says(first, "given back"));
}

TEST_F(SingletonAppTest, TheBusOfTheRuntimeDirectoryIsFound)
{
   TestProcess const first = LaunchWithRuntimeDir(dir.GetPath());
   EXPECT_TRUE(Says(first, "first"));
   TestProcess second = Launch();
   EXPECT_TRUE(ExitedWith(second.Wait(), 0));
}

TEST_F(SingletonAppTest, WithoutABusTheProgramSimplyRuns)
{
   for (char const* none : {"unix:path=/nonexistent/bus", "nonsense", "tcp:host=:"}) {
      TestProcess const first = Launch({}, none);
      TestProcess const second = Launch({}, none);
      EXPECT_TRUE(Says(first, "alone")) << none;
      EXPECT_TRUE(Says(second, "alone")) << none;
   }
   TestProcess const noVariable = LaunchWithRuntimeDir(runtimeDir.GetPath());
   EXPECT_TRUE(Says(noVariable, "alone"));
   TestProcess const noDirectory = LaunchWithRuntimeDir("");
   EXPECT_TRUE(Says(noDirectory, "alone"));
}

TEST_F(SingletonAppTest, NoBusIsStartedForIt)
{
   // What GIO would start.
   std::string const launcher = dir.Write("dbus-launch", "#!/bin/sh\n: >\"$0.was-run\"\n");
   std::filesystem::permissions(launcher, std::filesystem::perms::owner_all);
   for (std::string const bus : {"", "autolaunch:"}) {
      TestProcess const first({SINGLETON_INSTANCE},
                              {{"DBUS_SESSION_BUS_ADDRESS", bus},
                               {"XDG_RUNTIME_DIR", runtimeDir.GetPath()},
                               {"DISPLAY", ":4711"},
                               {"PATH", dir.GetPath().string() + ":" + getenv("PATH")}});
      EXPECT_TRUE(Says(first, "alone"));
      EXPECT_FALSE(std::filesystem::exists(launcher + ".was-run")) << bus;
   }
}
