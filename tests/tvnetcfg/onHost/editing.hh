// SPDX-License-Identifier: GPL-2.0-or-later
// An editor without its window, on the host of a test.
#pragma once

#include "support/testProcess.hh"
#include "tvnetcfg/common/editable.hh"

#include <memory>

namespace netcfg::onHost {

using Model = std::unique_ptr<common::Editable>;

// The model that the server gives an editor. Throws std::runtime_error if there is no database.
Model OpenEditor();
// A copy, as the snapshot makes one.
Model Copy(common::Editable& model);
// Whether the model may be saved.
bool IsValid(common::Editable& model);

// What the server does with the model: load, rebuild from the snapshot, walk, unload. Returns
// whether the database was there.
bool Save(common::Editable& model);

// A save in a process of its own, which runs once this is made.
class SavingProcess {
public:
   explicit SavingProcess(common::Editable& model, unsigned int times = 1);
   // Kills it if it still runs.
   ~SavingProcess();
   SavingProcess(SavingProcess const&) = delete;
   SavingProcess& operator=(SavingProcess const&) = delete;

   // Whether it ended well before the deadline.
   bool Wait(test::Milliseconds deadline = test::patience);

private:
   int pid;
};

// Networks in 192.168.<index>.0/24 with DHCP and the host's adapter.
common::Network& AddHosted(common::Editable& model, common::Network::Type type, unsigned int index);

} // namespace netcfg::onHost
