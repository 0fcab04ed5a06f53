/* SPDX-License-Identifier: GPL-2.0-or-later */
/*
 * The virtual networks of this host: the database /etc/tavrin/networking and the bridges, rules
 * and services made of it.
 *
 * A network is named by text, "tvnet0" to "tvnet255". VNL_Load reads the database into memory,
 * the setters change it there, VNL_Unload commits. With nothing loaded every read is safe and
 * empty and every change a logged no-op. Functions that return bool return false on failure and
 * then leave their out-parameters alone, unless told otherwise; each failure is logged with
 * action, object and cause. Texts are UTF-8. For one thread at a time.
 */
#pragma once

#include <stdbool.h>
#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
#define VNL_STATIC_ASSERT static_assert
extern "C" {
#else
#define VNL_STATIC_ASSERT _Static_assert
#endif

#define VNL_API __attribute__((visibility("default")))

/* The leading words of the records: the version of their layout. */
#define VNL_RECORD_VERSION 1
/* The index that stands for no network. */
#define VNL_NO_VNET (-1)
/* The room, in bytes, for an address or mask as dotted text with its NUL. */
#define VNL_ADDRESS_SIZE 16
/* The room for a display name with its NUL. */
#define VNL_DISPLAY_NAME_SIZE 128
/* The longest parameter value, forward address or description, without a NUL. */
#define VNL_VALUE_SIZE 128

/* A network in a record. */
typedef struct VnetRef {
   uint32_t version;     /* VNL_RECORD_VERSION */
   uint32_t kindVersion; /* VNL_RECORD_VERSION */
   int32_t vnet;         /* index, or VNL_NO_VNET */
} VnetRef;

VNL_STATIC_ASSERT(sizeof(VnetRef) == 12, "VnetRef is 12 bytes");
VNL_STATIC_ASSERT(offsetof(VnetRef, vnet) == 8, "VnetRef.vnet is at 8");

/* What VNL_GetVnetFeatures tells of the network in ref.vnet. */
typedef struct VNL_FeatureStruct {
   uint32_t version; /* VNL_RECORD_VERSION */
   VnetRef ref;
   uint8_t reserved1[16];
   uint8_t hosted; /* 1: a NAT or host-only network of the database */
   uint8_t reserved2[3];
   uint8_t dhcp; /* 1: DHCP in use */
   uint8_t nat;  /* 1: a NAT network */
   uint8_t reserved3;
   uint8_t virtualAdapter; /* 1: the host has an adapter on it */
   uint8_t reserved4[64];
} VNL_FeatureStruct;

VNL_STATIC_ASSERT(sizeof(VNL_FeatureStruct) == 104, "VNL_FeatureStruct is 104 bytes");
VNL_STATIC_ASSERT(offsetof(VNL_FeatureStruct, ref) == 4, "ref is at 4");
VNL_STATIC_ASSERT(offsetof(VNL_FeatureStruct, hosted) == 32, "hosted is at 32");
VNL_STATIC_ASSERT(offsetof(VNL_FeatureStruct, dhcp) == 36, "dhcp is at 36");
VNL_STATIC_ASSERT(offsetof(VNL_FeatureStruct, nat) == 37, "nat is at 37");
VNL_STATIC_ASSERT(offsetof(VNL_FeatureStruct, virtualAdapter) == 39, "virtualAdapter is at 39");

/* The room for an adapter's device name with its NUL; a kernel name takes at most 16 (IFNAMSIZ). */
#define VNL_ADAPTER_NAME_SIZE 64

#pragma pack(push, 1)
/* A host adapter. */
typedef struct VNL_HostAdapter {
   uint32_t version;             /* VNL_RECORD_VERSION */
   struct VNL_HostAdapter* next; /* null at the end; not aligned */
   VnetRef network;              /* vnet is negative if it is bridged to none */
   uint8_t reserved[276];
   char name[VNL_ADAPTER_NAME_SIZE]; /* device name */
} VNL_HostAdapter;
#pragma pack(pop)

VNL_STATIC_ASSERT(offsetof(VNL_HostAdapter, next) == 4, "next is at 4");
VNL_STATIC_ASSERT(offsetof(VNL_HostAdapter, network) == 12, "network is at 12");
VNL_STATIC_ASSERT(offsetof(VNL_HostAdapter, network) + offsetof(VnetRef, vnet) == 20,
                  "network.vnet is at 20");
VNL_STATIC_ASSERT(offsetof(VNL_HostAdapter, name) == 300, "name is at 300");

typedef struct VNL_HostAdapterList {
   uint32_t version; /* VNL_RECORD_VERSION */
   uint32_t count;
   VNL_HostAdapter* first; /* null if there is none */
} VNL_HostAdapterList;

VNL_STATIC_ASSERT(offsetof(VNL_HostAdapterList, first) == 8, "first is at 8");

/* NAT parameters. Switches are "1" or "0", numbers decimal. */
enum {
   VNL_NAT_GATEWAY = 0x2343, /* dotted address; empty: the default one */
   VNL_NAT_CONFIG_PORT = 0x2346,
   VNL_NAT_ALLOW_ACTIVE_FTP = 0x2347,
   VNL_NAT_ALLOW_ANY_OUI = 0x2348,
   VNL_NAT_UDP_TIMEOUT = 0x2349, /* seconds */
   VNL_NAT_ENABLE_IPV6 = 0x235a,
   VNL_NAT_IPV6_PREFIX = 0x235b, /* address "/" length */
};

/* DHCP parameters. */
enum {
   VNL_DHCP_RANGE_BEGIN = 0x3426,   /* dotted address */
   VNL_DHCP_RANGE_END = 0x3427,     /* dotted address */
   VNL_DHCP_DEFAULT_LEASE = 0x342a, /* seconds */
   VNL_DHCP_MAX_LEASE = 0x342b,     /* seconds */
   VNL_DHCP_NETBIOS_SERVER = 0x342d,
   VNL_DHCP_ROUTER = 0x342e,
   VNL_DHCP_DNS_SERVER = 0x3432,
};

/* Services of a network. */
enum {
   VNL_SERVICE_BRIDGE = 0x8801,
   VNL_SERVICE_DHCP = 0x8802,
   VNL_SERVICE_NAT = 0x8803,
};

/* --- The database --- */

/* Whether the database file is there. */
VNL_API bool VNL_NetworkingDBExists(void);
/* Whether it can be read: well-formed, UTF-8, and of no newer version than this library's. */
VNL_API bool VNL_CanReadNetworkingDB(void);
/* Loads the database. mode is 0. False also without the privilege to change the host's networks. */
VNL_API bool VNL_Load(int mode);
/* Commits what was changed, brings the host in line with it, and drops what was loaded. */
VNL_API void VNL_Unload(void);
/* The number of network indices, from 0 up. Needs nothing loaded. */
VNL_API uint32_t VNL_GetNumberOfVnets(void);
/* The database as it stands in memory, as text; null if nothing is loaded. To be freed by free().
 */
VNL_API char* VNL_ExportDatabaseToBuffer(void);

/* --- Reading networks --- */

/* Fills the output fields for features->ref.vnet; all 0 for a network that isn't hosted. */
VNL_API bool VNL_GetVnetFeatures(VNL_FeatureStruct* features);
/* These copy a text with its NUL into buffer. *length is its size on entry, and the length of the
 * text on success. */
VNL_API bool VNL_GetVnetSubnetAddr(const char* name, char* buffer, uint32_t* length);
VNL_API bool VNL_GetVnetSubnetMask(const char* name, char* buffer, uint32_t* length);
VNL_API bool VNL_GetVnetDisplayName(const char* name, char* buffer, uint32_t* length);
/* False if no MTU is set. */
VNL_API bool VNL_GetVnetMTU(const char* name, uint32_t* mtu);
/* Sets network->vnet to the automatic bridging network. Writes it always: VNL_NO_VNET on failure,
 * too. */
VNL_API bool VNL_GetBridgeDefaultNetwork(VnetRef* network);
/* Always sets *list to a valid list, to be freed by VNL_FreeHostAdapterList. mode is 1. */
VNL_API bool VNL_GetHostAdapterList(int mode, VNL_HostAdapterList** list);
/* Null is accepted. */
VNL_API void VNL_FreeHostAdapterList(VNL_HostAdapterList* list);

/* --- Writing networks; the trailing mode arguments are 1, but for VNL_SetVnetUseDHCP, where 0
 * says that the change is for an export and not for this host --- */

/* Gives the network a free subnet of the library's choice. */
VNL_API bool VNL_AssignSubnetAddressToVnet(const char* name, int mode);
/* Null clears. An empty mask after an assigned subnet keeps the assigned mask. */
VNL_API bool VNL_SetVnetSubnetAddr(const char* name, const char* address);
VNL_API bool VNL_SetVnetSubnetMask(const char* name, const char* mask);
/* Null and the empty text clear. At most 127 bytes without control characters. */
VNL_API bool VNL_SetVnetDisplayName(const char* name, const char* displayName);
/* From 68 to 9194. */
VNL_API bool VNL_SetVnetMTU(const char* name, uint32_t mtu);
VNL_API bool VNL_RemoveMTU(const char* name);
VNL_API bool VNL_SetVnetUseAdapter(const char* name, bool use, int mode);
VNL_API bool VNL_SetVnetUseDHCP(const char* name, bool use, int mode);
VNL_API bool VNL_SetVnetUseNAT(const char* name, bool use, int mode);
/* Turns the host's adapter on the network on, or marks it to be turned off. */
VNL_API bool VNL_EnableNetworkAdapter(const char* name);
VNL_API bool VNL_DisableNetworkAdapter(const char* name);
/* Make the wanted configuration of the service anew from the database in memory. */
VNL_API bool VNL_UpdateDHCPFromConfig(const char* name);
VNL_API bool VNL_UpdateNATFromConfig(const char* name);
/* Starts a service, touching only what differs from what runs, or marks it to be stopped. */
VNL_API bool VNL_StartService(const char* name, uint32_t service);
VNL_API bool VNL_StopService(const char* name, uint32_t service);
/* Removes the network from the database and at once from the host. */
VNL_API bool VNL_DeleteVnetFromDatabase(const char* name);
/* Sets the automatic bridging network; VNL_NO_VNET clears it. */
VNL_API bool VNL_SetBridgeDefaultNetwork(const VnetRef* network);
/* Records an adapter's new network. source is null for an adapter that has none; a target with
 * VNL_NO_VNET takes it off. The bridge service's start makes it real. */
VNL_API bool VNL_BridgeMoveAdapter(VNL_HostAdapter* adapter, const VnetRef* source,
                                   const VnetRef* target);

/* --- Parameters --- */

/* mode is 1. *length is the buffer's size on entry, and the value's on success; without a NUL. */
VNL_API bool VNL_GetNATParam(const char* name, uint32_t id, int mode, char* buffer,
                             uint32_t* length);
VNL_API bool VNL_GetDHCPParam(const char* name, uint32_t id, int mode, char* buffer,
                              uint32_t* length);
/* Null with size 0 stores the empty value. */
VNL_API bool VNL_SetNATParam(const char* name, uint32_t id, const char* value, uint32_t size);
VNL_API bool VNL_SetDHCPParam(const char* name, uint32_t id, const char* value, uint32_t size);
/* Yields one forward of the protocol and moves *cursor on, which starts at 0; false at the end.
 * The lengths are the buffers' sizes on entry. The address gets a NUL, the description its length.
 */
VNL_API bool VNL_EnumNATPortForward(const char* name, bool tcp, uint32_t* cursor,
                                    uint16_t* hostPort, char* address, uint32_t* addressLength,
                                    uint16_t* vmPort, char* description,
                                    uint32_t* descriptionLength);
/* Adds or replaces the forward of the protocol and host port; with null address, 0, null and 0
 * removes it. */
VNL_API bool VNL_SetNATPortForward(const char* name, bool tcp, uint16_t hostPort,
                                   const char* address, uint16_t vmPort, const char* description,
                                   uint32_t descriptionSize);

#ifdef __cplusplus
}
#endif
