// SPDX-License-Identifier: GPL-2.0-or-later
// Languages made for one test: locales and catalogues in a temporary directory.
#pragma once

#include "support/testProcess.hh"

#include <filesystem>
#include <string>

namespace cui {

// Glibc consults no catalogue for the locale C, and newer ones none for C.UTF-8 either, whatever
// LANGUAGE says; and a bare system has no other locale. So localedef(1) compiles one of our own,
// which is the C locale or another under a new name, and LOCPATH leads to it. Needs the sources in
// /usr/share/i18n.
//
// Each object has a directory of its own, as gettext reads a catalogue's file once in a process.
class Languages {
public:
   Languages();
   Languages(Languages const&) = delete;
   Languages& operator=(Languages const&) = delete;
   // Sets the locale C, forgets LANGUAGE and LOCPATH and removes the directory.
   ~Languages();

   // Compiles the locale language_XX.charset ("xx", "UTF-8") from the source of another one and
   // takes it for this process. False, with a failed expectation, if that doesn't work.
   bool Speak(std::string const& language, std::string const& charset,
              std::string const& source = "C");

   // Compiles the catalogue of language from the entries of a .po file (without its header).
   // False, with a failed expectation, if that doesn't work.
   bool AddCatalogue(std::string const& language, std::string const& entries);

   // Where the catalogues are, and the file of one of them.
   std::string GetDirectory() const { return top / "catalogues"; }
   std::filesystem::path GetCatalogueFile(std::string const& language) const;

private:
   test::TempDir folder;
   std::filesystem::path const top = folder.GetPath();
};

} // namespace cui
