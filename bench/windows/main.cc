// SPDX-License-Identifier: GPL-2.0-or-later
// How fast and how heavy the editor's window is, beside a bare window with a list.
//
//    bench_windows BARE_WINDOW EDITOR
//
// Wants a display (DISPLAY). Works in namespaces of its own, as root.
#include "networks/laboratory.hh"
#include "networks/nursery.hh"
#include "networks/results.hh"
#include "networks/verdict.hh"
#include "windows/desktop.hh"
#include "windows/program.hh"

#include <cstdio>
#include <fstream>
#include <optional>
#include <string>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

using namespace bench;

constexpr auto bareTitle = "Bare window";
constexpr auto editorTitle = "Tavrin Network Editor";
constexpr unsigned int fewNetworks = 3;
constexpr unsigned int manyNetworks = 256;
constexpr unsigned int manyForwards = 1000;
// A single one may take half as long again.
constexpr int launches = 31;
constexpr int keys = 40;
constexpr std::chrono::seconds idleTime(60);

// NAT and host-only networks in turn; the first, a NAT network, has the forwards.
void WriteDatabase(unsigned int networks, unsigned int forwards)
{
   std::ofstream file("/etc/tavrin/networking");
   file << "[general]\nversion=1\n";
   for (unsigned int index = 0; index < networks; ++index) {
      auto const name = "tvnet" + std::to_string(index);
      file << "[" << name << "]\nsubnet=10.20." << index << ".0\nmask=255.255.255.0\n"
           << "adapter=true\ndhcp=true\nnat=" << (index % 2 == 0 ? "true" : "false") << "\n";
   }
   for (unsigned int i = 0; i < forwards; ++i) {
      file << "[tvnet0 forward tcp " << 10000 + i << "]\naddress=10.20.0." << 10 + i % 200
           << "\nport=80\n";
   }
}

// One of the programs, with a window that reacts.
class Opened {
public:
   Opened(Desktop& desktopOfUser, std::string const& path, std::string const& title)
      : desktop(desktopOfUser)
   {
      desktop.WaitUntilQuiet();
      launch = Measure([&] {
         program.emplace(path);
         window = desktop.WaitForWindow(title);
      });
   }

   Program const& GetProgram() const { return *program; }
   // How long that took.
   double GetLaunch() const { return launch; }

   // How long until a key is handled and what it changes is drawn.
   double Press(char const* key, bool alt = false)
   {
      desktop.WaitUntilQuiet();
      return Measure([&] {
         desktop.Press(key, alt);
         desktop.WaitUntilDrawn();
         desktop.WaitUntilHandled(window);
      });
   }

private:
   Desktop& desktop;
   std::optional<Program> program;
   Window window = 0;
   double launch = 0;
};

class Bench {
public:
   Bench(std::string const& bareProgram, std::string const& editorProgram)
      : bare(bareProgram), editor(editorProgram)
   {}

   void Run()
   {
      WriteDatabase(fewNetworks, 0);
      MeasureLaunches(fewNetworks);
      MeasureMemory();
      MeasureIdle();
      WriteDatabase(manyNetworks, manyForwards);
      MeasureLaunches(manyNetworks);
      MeasureKeys();
      PrintTable({{bareLaunch, "", false},
                  {editorLaunch, bareLaunch, false},
                  {selection, "", false},
                  {keystroke, "", false},
                  {toggle, "", false},
                  {mnemonic, "", false}},
                 results);
      TellOfLaunch("launch with 3 networks", fewNetworks, 1.5);
      TellOfLaunch("launch with 256 networks and 1,000 forwards", manyNetworks, 2);
      for (auto const* what : {selection, keystroke, toggle}) {
         double const median = results.GetMedian(what, manyNetworks);
         Tell({std::string(what) + " among 256 networks, ms", Format(median, 1, "ms"), "", median,
               Bar::AtMost, 8});
      }
   }

private:
   static constexpr auto bareLaunch = "launch of a bare window";
   static constexpr auto editorLaunch = "launch of the editor";
   static constexpr auto selection = "another network selected";
   static constexpr auto keystroke = "a character typed";
   static constexpr auto toggle = "a box checked";
   // GTK underlines all mnemonics of the window while Alt is down.
   static constexpr auto mnemonic = "a box checked by Alt and its letter";

   std::string const bare;
   std::string const editor;
   Desktop desktop;
   Results results;

   void TellOfLaunch(char const* what, unsigned int networks, double bar) const
   {
      double const ours = results.GetMedian(editorLaunch, networks);
      double const reference = results.GetMedian(bareLaunch, networks);
      Tell({what, Format(ours, 0, "ms"), Format(reference, 0, "ms"), ours / reference, Bar::AtMost,
            bar});
   }

   // In turn, as a machine's speed changes.
   void MeasureLaunches(unsigned int networks)
   {
      for (int i = 0; i < launches; ++i) {
         results.Add(bareLaunch, networks, Opened(desktop, bare, bareTitle).GetLaunch());
         results.Add(editorLaunch, networks, Opened(desktop, editor, editorTitle).GetLaunch());
      }
   }

   void MeasureMemory()
   {
      long const ofBare = Opened(desktop, bare, bareTitle).GetProgram().GetMemory();
      long const ofEditor = Opened(desktop, editor, editorTitle).GetProgram().GetMemory();
      auto const mebibytes = [](long kibibytes) { return static_cast<double>(kibibytes) / 1024; };
      Tell({"memory of editor and server beyond a bare window, MiB",
            Format(mebibytes(ofEditor), 1, "MiB"), Format(mebibytes(ofBare), 1, "MiB"),
            mebibytes(ofEditor - ofBare), Bar::AtMost, 15});
   }

   void MeasureIdle()
   {
      Opened const opened(desktop, editor, editorTitle);
      desktop.WaitUntilQuiet();
      auto const before = opened.GetProgram().GetUse();
      std::this_thread::sleep_for(idleTime);
      for (auto const& [pid, use] : opened.GetProgram().GetUse()) {
         auto const found = before.find(pid);
         auto const earlier = found == before.end() ? Use() : found->second;
         Tell(JudgeIdle(GetName(pid), earlier, use));
      }
   }

   // The list has the keyboard.
   void MeasureKeys()
   {
      Opened opened(desktop, editor, editorTitle);
      for (int i = 0; i < keys; ++i) {
         results.Add(selection, manyNetworks, opened.Press("Down"));
      }
      opened.Press("i", true); // the subnet's address
      for (int i = 0; i < keys; ++i) {
         results.Add(keystroke, manyNetworks, opened.Press(i % 2 == 0 ? "1" : "BackSpace"));
      }
      for (int i = 0; i < keys; ++i) {
         results.Add(mnemonic, manyNetworks, opened.Press("d", true));
      }
      for (int i = 0; i < keys; ++i) {
         results.Add(toggle, manyNetworks, opened.Press("space"));
      }
   }
};

} // namespace

int main(int argc, char** argv)
try {
   if (argc != 3) {
      std::fprintf(stderr, "usage: %s BARE_WINDOW EDITOR\n", argv[0]);
      return 2;
   }
   if (geteuid() != 0) {
      std::fprintf(stderr, "Only root's editor needs no password\n");
      return 77;
   }
   return RunInNursery([&] {
      Laboratory const laboratory;
      Bench(argv[1], argv[2]).Run();
      return 0;
   });
} catch (std::exception const& error) {
   std::fprintf(stderr, "%s\n", error.what());
   return 1;
}
