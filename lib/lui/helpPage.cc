// SPDX-License-Identifier: GPL-2.0-or-later
#include "lui/helpPage.hh"

#include "lui/installation.hh"

#include <array>
#include <cstring>
#include <filesystem>
#include <glib.h>
#include <memory>
#include <optional>
#include <system_error>

namespace lui {

namespace {

struct Topic {
   char const* name;
   char const* file;
};

constexpr std::array<Topic, 4> TOPICS = {{
   {"IDH_TVNET_LIN_MAIN", "main.html"},
   {"IDH_TVNET_LIN_AUTOBRIDGE", "autobridge.html"},
   {"IDH_TVNET_MAPPORT", "mapport.html"},
   {"IDH_TVNET_NAT", "nat.html"},
}};

// A build tree keeps its pages beside its libraries, as it does with its catalogues.
std::filesystem::path FindPages()
{
   std::error_code error;
   std::filesystem::path const tree =
      std::filesystem::path(Utils::GetLibDir().c_str()).parent_path();
   bool const isBuildTree = std::filesystem::exists(tree / "CMakeCache.txt", error);
   return isBuildTree ? tree / "help" : std::filesystem::path(INSTALLED_HELP_DIR);
}

struct Element {
   char const* name;
   HelpPage::Style style;
};

constexpr std::array<Element, 6> BLOCKS = {{
   {"h1", HelpPage::TITLE},
   {"h2", HelpPage::HEADING},
   {"p", HelpPage::PARAGRAPH},
   {"li", HelpPage::ITEM},
   {"dt", HelpPage::TERM},
   {"dd", HelpPage::DEFINITION},
}};

// These only hold others.
constexpr std::array<char const*, 8> HOLDERS = {"html", "head", "body", "ul",
                                                "ol",   "dl",   "meta", "style"};

std::optional<HelpPage::Style> FindBlock(char const* name)
{
   for (Element const& element : BLOCKS) {
      if (std::strcmp(name, element.name) == 0) {
         return element.style;
      }
   }
   return std::nullopt;
}

bool IsStrong(char const* name)
{
   return std::strcmp(name, "strong") == 0 || std::strcmp(name, "kbd") == 0;
}

bool IsHolder(char const* name)
{
   for (char const* const holder : HOLDERS) {
      if (std::strcmp(name, holder) == 0) {
         return true;
      }
   }
   return std::strcmp(name, "title") == 0;
}

struct Reader {
   HelpPage page;
   bool isInBlock = false;
   bool isStrong = false;
};

void OnStart(GMarkupParseContext*, char const* name, char const**, char const**, gpointer data,
             GError** error)
{
   Reader& reader = *static_cast<Reader*>(data);
   std::optional<HelpPage::Style> const style = FindBlock(name);
   if (style && !reader.isInBlock) {
      reader.page.blocks.push_back({*style, {}});
      reader.isInBlock = true;
   } else if (IsStrong(name) && reader.isInBlock) {
      reader.isStrong = true;
   } else if (!IsHolder(name) || reader.isInBlock) {
      g_set_error(error, G_MARKUP_ERROR, G_MARKUP_ERROR_UNKNOWN_ELEMENT, "<%s>", name);
   }
}

void OnEnd(GMarkupParseContext*, char const* name, gpointer data, GError**)
{
   Reader& reader = *static_cast<Reader*>(data);
   if (FindBlock(name)) {
      reader.isInBlock = false;
   } else if (IsStrong(name)) {
      reader.isStrong = false;
   }
}

// Line breaks of the file are blanks of the text.
utf::string Flatten(char const* text, gsize size)
{
   std::string flat;
   for (char const character : std::string_view(text, size)) {
      bool const isBlank = std::strchr(" \t\r\n", character) != nullptr;
      if (!isBlank) {
         flat += character;
      } else if (flat.empty() || flat.back() != ' ') {
         flat += ' ';
      }
   }
   return {flat.c_str(), flat.size()};
}

void OnText(GMarkupParseContext* context, char const* text, gsize size, gpointer data, GError**)
{
   Reader& reader = *static_cast<Reader*>(data);
   if (reader.isInBlock) {
      reader.page.blocks.back().runs.push_back({Flatten(text, size), reader.isStrong});
      return;
   }
   char const* const element = g_markup_parse_context_get_element(context);
   if (element && std::strcmp(element, "title") == 0) {
      reader.page.title = Flatten(text, size);
   }
}

HelpPage Parse(char const* text, gsize size)
{
   static GMarkupParser const parser = {OnStart, OnEnd, OnText, nullptr, nullptr};
   Reader reader;
   GError* error = nullptr;
   std::unique_ptr<GMarkupParseContext, decltype(&g_markup_parse_context_free)> const context(
      g_markup_parse_context_new(&parser, G_MARKUP_PREFIX_ERROR_POSITION, &reader, nullptr),
      &g_markup_parse_context_free);
   if (!g_markup_parse_context_parse(context.get(), text, static_cast<gssize>(size), &error) ||
       !g_markup_parse_context_end_parse(context.get(), &error)) {
      reader.page.error = error->message;
      g_clear_error(&error);
   }
   return reader.page;
}

} // namespace

std::string FindHelpPage(utf::string const& topic)
{
   for (Topic const& known : TOPICS) {
      if (topic != known.name) {
         continue;
      }
      // Ends with C, the language of the pages that always exist.
      for (char const* const* language = g_get_language_names(); *language; ++language) {
         std::filesystem::path const file = FindPages() / *language / known.file;
         std::error_code error;
         if (std::filesystem::exists(file, error)) {
            return file;
         }
      }
      return FindPages() / "C" / known.file;
   }
   return "";
}

HelpPage ReadHelpPage(std::string const& file)
{
   char* text = nullptr;
   gsize size = 0;
   GError* error = nullptr;
   if (!g_file_get_contents(file.c_str(), &text, &size, &error)) {
      HelpPage page;
      page.error = error->message;
      g_clear_error(&error);
      return page;
   }
   HelpPage page = Parse(text, size);
   g_free(text);
   return page;
}

} // namespace lui
