/* SPDX-License-Identifier: GPL-2.0-or-later */
/* Somebody else's program: the subnets of the default networks, as the installed library tells. */
#include <stdio.h>
#include <vnet/vnetlib.h>

static bool Tell(const char* name)
{
   char subnet[VNL_ADDRESS_SIZE];
   uint32_t length = sizeof subnet;
   if (!VNL_GetVnetSubnetAddr(name, subnet, &length)) {
      return false;
   }
   printf("%s %s\n", name, subnet);
   return true;
}

int main(void)
{
   if (!VNL_NetworkingDBExists() || !VNL_CanReadNetworkingDB() || !VNL_Load(0)) {
      return 1;
   }
   bool const told = Tell("tvnet1") && Tell("tvnet8");
   VNL_Unload();
   return told ? 0 : 1;
}
