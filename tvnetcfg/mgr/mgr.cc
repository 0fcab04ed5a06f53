// SPDX-License-Identifier: GPL-2.0-or-later
#include "tvnetcfg/mgr/mgr.hh"

#include "tvnetcfg/common/editable.hh"

namespace netcfg {

Mgr::Mgr(common::Editable* model) : editable(model) {}

void Mgr::RebuildEditable(utf::string const& text)
{
   delete editable;
   // An exception of Restore must not leave the deleted model behind.
   editable = nullptr;
   editable = common::Editable::Restore(text);
}

} // namespace netcfg
