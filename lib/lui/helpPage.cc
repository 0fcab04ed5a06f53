// SPDX-License-Identifier: GPL-2.0-or-later
#include "lui/helpPage.hh"

#include <array>
#include <cstring>
#include <glib.h>
#include <memory>
#include <optional>
#include <string_view>

namespace lui {

namespace {

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
                                                "ol",   "dl",   "meta", "link"};

std::optional<HelpPage::Style> FindBlock(char const* name)
{
   for (Element const& element : BLOCKS) {
      if (std::strcmp(name, element.name) == 0) {
         return element.style;
      }
   }
   return std::nullopt;
}

struct Inline {
   char const* name;
   HelpPage::Look look;
};

constexpr std::array<Inline, 4> INLINES = {{
   {"strong", HelpPage::STRONG},
   {"kbd", HelpPage::STRONG},
   {"code", HelpPage::CODE},
   {"a", HelpPage::LINK},
}};

std::optional<HelpPage::Look> FindInline(char const* name)
{
   for (Inline const& element : INLINES) {
      if (std::strcmp(name, element.name) == 0) {
         return element.look;
      }
   }
   return std::nullopt;
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

// A page in the same folder, and nothing else that a file might lead to.
bool IsPageName(std::string_view name)
{
   constexpr std::string_view END = ".html";
   return name.size() > END.size() && name.substr(name.size() - END.size()) == END &&
          name.find_first_not_of("abcdefghijklmnopqrstuvwxyz-") == name.size() - END.size();
}

struct Reader {
   HelpPage page;
   bool isInBlock = false;
   bool isInline = false;
   // Of the next item; 0 in a list without numbers.
   int number = 0;
   HelpPage::Look look = HelpPage::PLAIN;
   std::string target;
};

std::string FindAttribute(char const** names, char const** values, char const* wanted)
{
   for (; *names; ++names, ++values) {
      if (std::strcmp(*names, wanted) == 0) {
         return *values;
      }
   }
   return "";
}

void StartBlock(Reader& reader, HelpPage::Style style)
{
   bool const isNumbered = style == HelpPage::ITEM && reader.number > 0;
   reader.page.blocks.push_back({style, isNumbered ? reader.number++ : 0, {}});
   reader.isInBlock = true;
}

void StartHolder(Reader& reader, char const* name)
{
   if (std::strcmp(name, "ol") == 0) {
      reader.number = 1;
   } else if (std::strcmp(name, "ul") == 0) {
      reader.number = 0;
   }
}

void OnStart(GMarkupParseContext*, char const* name, char const** attributes, char const** values,
             gpointer data, GError** error)
{
   Reader& reader = *static_cast<Reader*>(data);
   auto const style = FindBlock(name);
   auto const look = FindInline(name);
   std::string const target = FindAttribute(attributes, values, "href");
   if (style && !reader.isInBlock) {
      StartBlock(reader, *style);
   } else if (look && reader.isInBlock && !reader.isInline &&
              (*look != HelpPage::LINK || IsPageName(target))) {
      reader.look = *look;
      reader.target = target;
      reader.isInline = true;
   } else if (IsHolder(name) && !reader.isInBlock) {
      StartHolder(reader, name);
   } else {
      g_set_error(error, G_MARKUP_ERROR, G_MARKUP_ERROR_UNKNOWN_ELEMENT, "<%s>", name);
   }
}

void OnEnd(GMarkupParseContext*, char const* name, gpointer data, GError**)
{
   Reader& reader = *static_cast<Reader*>(data);
   if (FindBlock(name)) {
      reader.isInBlock = false;
   } else if (FindInline(name)) {
      reader.look = HelpPage::PLAIN;
      reader.target.clear();
      reader.isInline = false;
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
   if (size == 0) {
      return;
   }
   if (reader.isInBlock) {
      reader.page.blocks.back().runs.push_back({Flatten(text, size), reader.look, reader.target});
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
