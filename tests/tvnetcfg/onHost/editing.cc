// SPDX-License-Identifier: GPL-2.0-or-later
#include "tvnetcfg/onHost/editing.hh"

#include "cui/error.hh"
#include "tvnetcfg/mgr/mgr.hh"
#include "vnet/vnetlib.h"

#include <csignal>
#include <cstdlib>
#include <stdexcept>
#include <sys/wait.h>
#include <unistd.h>

namespace netcfg::onHost {

using common::Editable;
using common::Network;

Model OpenEditor()
{
   if (!VNL_Load(0)) {
      throw std::runtime_error("no database");
   }
   Editable host(VNL_GetNumberOfVnets());
   Mgr mgr(&host);
   mgr.Load();
   mgr.Unload();
   return Copy(host);
}

Model Copy(Editable& model)
{
   return Model(Editable::Restore(Editable::Serialize(&model)));
}

bool IsValid(Editable& model)
{
   int index = -1;
   cui::Error error("");
   return Mgr(&model).Verify(index, error);
}

bool Save(Editable& model)
{
   utf::string const snapshot = Editable::Serialize(&model);
   if (!VNL_Load(0)) {
      return false;
   }
   Mgr mgr(new Editable(VNL_GetNumberOfVnets()));
   mgr.RebuildEditable(snapshot);
   Model const rebuilt(mgr.GetEditable());
   mgr.Save();
   mgr.Unload();
   return true;
}

SavingProcess::SavingProcess(Editable& model, unsigned int times) : pid(fork())
{
   if (pid == 0) {
      bool works = true;
      for (unsigned int round = 0; round < times; ++round) {
         works = Save(model) && works;
      }
      _exit(works ? 0 : 1);
   }
}

SavingProcess::~SavingProcess()
{
   if (pid > 0) {
      kill(pid, SIGKILL);
      waitpid(pid, nullptr, 0);
   }
}

bool SavingProcess::Wait(test::Milliseconds deadline)
{
   int status = -1;
   if (!test::Eventually([&] { return waitpid(pid, &status, WNOHANG) == pid; }, deadline)) {
      return false;
   }
   pid = -1;
   return test::ExitedWith(status, 0);
}

Network& AddHosted(Editable& model, Network::Type type, unsigned int index)
{
   Network& network = *model.AddNetwork(type, index, false, common::OnDone());
   network.SetSubnetAddr(("192.168." + std::to_string(index) + ".0").c_str());
   network.SetSubnetMask("255.255.255.0");
   network.SetHasDHCP(true);
   network.SetHasVirtualAdapter(true);
   return network;
}

} // namespace netcfg::onHost
