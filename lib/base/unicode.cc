// SPDX-License-Identifier: GPL-2.0-or-later
#include "base/unicode.h"

#include <glib.h>
#include <list>
#include <string>
#include <vector>

namespace {

// As many positions as the longest command line of this product has.
constexpr size_t MIN_ARGUMENTS = 4;

// A vector of texts as main gets it, with a closing null.
struct TextVector {
   std::vector<std::string> texts;
   std::vector<char*> pointers;
};

// Never destroyed: the vectors are in use until the very end, also by what runs at exit.
std::list<TextVector>& Copies()
{
   static auto& copies = *new std::list<TextVector>;
   return copies;
}

std::string ValidText(char const* text)
{
   gchar* made = g_utf8_make_valid(text, -1);
   std::string valid = made;
   g_free(made);
   return valid;
}

char** Keep(std::vector<std::string> texts)
{
   TextVector& copy = Copies().emplace_back();
   copy.texts = std::move(texts);
   for (std::string& text : copy.texts) {
      copy.pointers.push_back(text.data());
   }
   copy.pointers.push_back(nullptr);
   return copy.pointers.data();
}

} // namespace

void Unicode_Init(int argc, char*** argv, char*** env)
{
   std::vector<std::string> arguments;
   for (int i = 0; *argv && i < argc && (*argv)[i]; ++i) {
      arguments.push_back(ValidText((*argv)[i]));
   }
   if (arguments.size() < MIN_ARGUMENTS) {
      arguments.resize(MIN_ARGUMENTS);
   }
   *argv = Keep(std::move(arguments));
   if (!env || !*env) {
      return;
   }
   std::vector<std::string> variables;
   for (char** variable = *env; *variable; ++variable) {
      variables.push_back(ValidText(*variable));
   }
   *env = Keep(std::move(variables));
}
