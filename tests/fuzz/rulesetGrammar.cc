// SPDX-License-Identifier: GPL-2.0-or-later
#include "fuzz/rulesetGrammar.hh"

#include <algorithm>
#include <set>
#include <vector>

namespace fuzz {

namespace {

using Words = std::vector<std::string>;

std::set<std::string> const keywords = {
   // Declarations.
   "type", "filter", "nat", "hook", "prerouting", "postrouting", "input", "output", "forward",
   "priority", "raw", "srcnat", "dstnat", "-100", "policy", "protocol", "l3proto", "unreplied",
   "replied", "elements", "inet_service", "ipv4_addr", "inet",
   // Matches.
   "iifname", "oifname", "ip", "ip6", "ether", "saddr", "daddr", "udp", "tcp", "icmp", "icmpv6",
   "th", "sport", "dport", "meta", "nfproto", "ipv4", "ipv6", "l4proto", "ct", "state", "status",
   "direction", "reply", "related", "invalid", "established", "fib", "iif", "local", "broadcast",
   "multicast", "map", "@tcp-forwards", "@udp-forwards", "redirect", "echo-request", "echo-reply",
   "nd-router-solicit", "nd-router-advert", "nd-neighbor-solicit", "nd-neighbor-advert",
   "mld2-listener-report",
   // What is done.
   "accept", "drop", "return", "jump", "goto", "masquerade", "dnat", "snat", "to", "set", "timeout",
   "helper"};

std::set<std::string> const marks = {"{", "}", "=", "!=", "&", ":", ".", ",", ";"};

std::set<std::string> const names = {
   "guard",         "timeouts",     "ftp",           "forwards",
   "translate-own", "translate-in", "translate-out", "from-guests",
   "to-guests",     "forward",      "dhcp-source",   "from-guests-to-host",
   "from-host",     "input",        "output",        "tcp-forwards",
   "udp-forwards",  "udp4",         "udp6"};

std::set<std::string> const fixedAddresses = {"127.0.0.0/8", "224.0.0.0/4", "255.255.255.255",
                                              "ff00::/8", "ff:ff:ff:00:00:00"};

constexpr std::uint32_t largestNumber = 86400; // a timeout; a port is smaller

bool IsQuoted(std::string const& word, Permitted const& permitted)
{
   static std::set<std::string> const own = {"\"lo\"",  "\"tvnet*\"", "\"tavrin-nowhere\"",
                                             "\"ftp\"", "\"udp4\"",   "\"udp6\""};
   return own.contains(word) || word == "\"" + permitted.GetDevice() + "\"";
}

bool IsAddress(std::string const& word, Permitted const& permitted)
{
   return fixedAddresses.contains(word) || permitted.IsHost(word) || permitted.IsSubnet(word) ||
          permitted.IsHost6(word) || permitted.IsPrefix6(word) || permitted.IsMaskedOui(word);
}

bool IsWord(std::string const& word, Permitted const& permitted)
{
   return keywords.contains(word) || marks.contains(word) || names.contains(word) ||
          IsNumberTo(word, largestNumber) || IsQuoted(word, permitted) ||
          IsAddress(word, permitted);
}

// At single spaces; a comma or semicolon at a word's end is a word of its own.
Words Split(std::string line)
{
   Words words;
   line.erase(0, line.find_first_not_of(' '));
   line += ' ';
   std::size_t begin = 0;
   for (std::size_t end; (end = line.find(' ', begin)) != std::string::npos; begin = end + 1) {
      std::string word = line.substr(begin, end - begin);
      bool const mark = word.size() > 1 && (word.back() == ',' || word.back() == ';');
      words.push_back(mark ? word.substr(0, word.size() - 1) : word);
      if (mark) {
         words.push_back(word.substr(word.size() - 1));
      }
   }
   return words;
}

// Reads the lines of a table, the outermost first.
class Reader {
public:
   Reader(std::string const& text, Permitted const& allowed)
      : permitted(allowed), table("table inet tavrin-" + allowed.GetDevice())
   {
      std::size_t begin = 0;
      for (std::size_t end; (end = text.find('\n', begin)) != std::string::npos; begin = end + 1) {
         lines.push_back(text.substr(begin, end - begin));
      }
      if (begin < text.size()) {
         lines.push_back(text.substr(begin));
      }
   }

   std::string FindFault()
   {
      bool const framed = lines.size() > 4 && lines[0] == table && lines[1] == "delete " + table &&
                          lines[2] == table + " {" && lines.back() == "}";
      if (!framed) {
         return "the frame";
      }
      for (std::size_t at = 3; at + 1 < lines.size(); ++at) {
         if (!ReadLine(lines[at])) {
            return "\"" + lines[at] + "\"";
         }
      }
      bool const jumps =
         std::ranges::all_of(jumped, [&](auto const& name) { return chains.contains(name); });
      return open ? "an open block" : jumps ? "" : "a jump to nowhere";
   }

private:
   bool ReadLine(std::string const& line)
   {
      Words const words = Split(line);
      bool const known =
         std::ranges::all_of(words, [&](auto const& word) { return IsKnown(word); });
      return known && (open ? ReadInBlock(line, words) : Open(line, words));
   }

   bool IsKnown(std::string const& word) const
   {
      return word == "chain" || IsWord(word, permitted);
   }

   // "chain guard {", "map tcp-forwards {", "ct timeout udp4 {"
   bool Open(std::string const& line, Words const& words)
   {
      bool const object =
         words.size() == 4 && words[0] == "ct" && (words[1] == "timeout" || words[1] == "helper");
      isChain = words[0] == "chain";
      bool const good = line.starts_with("   ") && words.back() == "{" &&
                        (object || (words.size() == 3 && (isChain || words[0] == "map"))) &&
                        names.contains(words[words.size() - 2]);
      if (isChain) {
         chains.insert(words[1]);
      }
      open = true;
      return good;
   }

   bool ReadInBlock(std::string const& line, Words const& words)
   {
      if (line == "   }") {
         open = false;
         return true;
      }
      bool const opens = std::ranges::count(words, "{") == std::ranges::count(words, "}");
      if (!line.starts_with("      ") || !opens ||
          std::ranges::find(words, "chain") != words.end()) {
         return false;
      }
      return !isChain || (words[0] == "type" ? IsDeclaration(words) : IsRule(words));
   }

   // "type filter hook input priority filter; policy accept;"
   static bool IsDeclaration(Words const& words)
   {
      return words.size() == 10 && words[2] == "hook" && words[4] == "priority" &&
             words[6] == ";" && words[7] == "policy" && words[8] == "accept" && words[9] == ";";
   }

   // One statement, at the line's end.
   bool IsRule(Words const& words)
   {
      if (std::ranges::find(words, ";") != words.end()) {
         return false;
      }
      static std::set<std::string> const ends = {"accept", "drop", "return", "masquerade"};
      std::size_t const size = words.size();
      if (size > 1 && (words[size - 2] == "jump" || words[size - 2] == "goto")) {
         jumped.insert(words[size - 1]);
         return true;
      }
      if (ends.contains(words.back())) {
         return CountActions(words) == 1;
      }
      bool const sets = size > 1 && (words[size - 2] == "set" || words[size - 2] == "to");
      return sets || words.back().starts_with("@");
   }

   static std::ptrdiff_t CountActions(Words const& words)
   {
      return std::ranges::count_if(words, [](auto const& word) {
         return word == "accept" || word == "drop" || word == "return" || word == "masquerade" ||
                word == "jump" || word == "goto";
      });
   }

   Permitted const& permitted;
   std::string const table;
   std::vector<std::string> lines;
   std::set<std::string> chains;
   std::set<std::string> jumped;
   bool open = false;
   bool isChain = false;
};

} // namespace

std::string FindBadRule(std::string const& ruleset, Permitted const& permitted)
{
   return Reader(ruleset, permitted).FindFault();
}

} // namespace fuzz
