// SPDX-License-Identifier: GPL-2.0-or-later
// The change rule of the model.
#pragma once

#include <sigc++/sigc++.h>

namespace netcfg::common {

// Stores value in field and emits changed, but only if the two differ.
template <typename T>
void Assign(T& field, T const& value, sigc::signal<void>& changed)
{
   if (field != value) {
      field = value;
      changed.emit();
   }
}

} // namespace netcfg::common
