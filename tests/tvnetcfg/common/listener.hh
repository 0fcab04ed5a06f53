// SPDX-License-Identifier: GPL-2.0-or-later
// An ear at every signal of a model and of one of its networks.
#pragma once

#include "tvnetcfg/common/bridge.hh"
#include "tvnetcfg/common/dhcp.hh"
#include "tvnetcfg/common/editable.hh"
#include "tvnetcfg/common/nat.hh"

#include <ostream>

namespace netcfg::common {

// How often each signal was heard.
struct Heard {
   int added = 0;
   int removed = 0;
   int adapters = 0;
   int network = 0;
   int bridge = 0;
   int dhcp = 0;
   int nat = 0;

   bool operator==(Heard const&) const = default;
};

inline std::ostream& operator<<(std::ostream& out, Heard const& heard)
{
   return out << "added " << heard.added << ", removed " << heard.removed << ", adapters "
              << heard.adapters << ", network " << heard.network << ", bridge " << heard.bridge
              << ", dhcp " << heard.dhcp << ", nat " << heard.nat;
}

// Stops listening when it dies.
class Listener : public sigc::trackable {
public:
   explicit Listener(Editable& editable)
   {
      editable.networkAdded.connect(sigc::hide(sigc::mem_fun(*this, &Listener::OnAdded)));
      editable.networkRemoved.connect(sigc::hide(sigc::mem_fun(*this, &Listener::OnRemoved)));
      editable.adaptersChanged.connect(sigc::mem_fun(*this, &Listener::OnAdapters));
   }

   // Listens to the network too, and to the bridge that it has at this moment.
   Listener(Editable& editable, Network& network) : Listener(editable)
   {
      network.changed.connect(sigc::mem_fun(*this, &Listener::OnNetwork));
      network.GetDHCP()->changed.connect(sigc::mem_fun(*this, &Listener::OnDHCP));
      network.GetNAT()->changed.connect(sigc::mem_fun(*this, &Listener::OnNAT));
      if (network.GetBridge()) {
         network.GetBridge()->changed.connect(sigc::mem_fun(*this, &Listener::OnBridge));
      }
   }

   Heard heard;

private:
   void OnAdded() { ++heard.added; }
   void OnRemoved() { ++heard.removed; }
   void OnAdapters() { ++heard.adapters; }
   void OnNetwork() { ++heard.network; }
   void OnBridge() { ++heard.bridge; }
   void OnDHCP() { ++heard.dhcp; }
   void OnNAT() { ++heard.nat; }
};

} // namespace netcfg::common
