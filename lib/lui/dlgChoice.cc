// SPDX-License-Identifier: GPL-2.0-or-later
#include "lui/dlgChoice.hh"

namespace lui {

void DlgChoice::OnClicked(unsigned int newChoice)
{
   choice = newChoice;
   Reply();
}

} // namespace lui
