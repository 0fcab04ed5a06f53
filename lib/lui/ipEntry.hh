// SPDX-License-Identifier: GPL-2.0-or-later
// An entry for an IPv4 address.
#pragma once

#include "lui/fieldEntry.hh"

namespace lui {

// Four numbers from 0 to 255. A whole address may be pasted, also with blanks around it and with a
// prefix length behind it, which is dropped.
class IPEntry : public FieldEntry {
public:
   // All modes look the same at present.
   enum Mode { ADDRESS = 0 };

   explicit IPEntry(Mode mode);

   // Shows an address; fields may be blank. "", and what is no address, blanks the entry.
   void SetIP(Glib::ustring const& address);
   // "" if all fields are blank; with a field blank its dots stand side by side ("192.168..1").
   Glib::ustring GetIP() const { return GetText(); }

   // What GetIP gives after SetIP of this address, without an entry.
   static Glib::ustring GetAsShown(Glib::ustring const& address);

protected:
   std::string Clean(Glib::ustring const& text) const override;
};

} // namespace lui
