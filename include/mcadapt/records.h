/**
 * @file
 * The process-wide records: configuration and working state of the library.
 *
 * The records exist from load to unload and are shared by the receive task, the protocol engine's tasks and the
 * management agents without a lock. Each field is written whole; updates of several fields are not atomic.
 * The layouts are part of the binary interface: fields have natural alignment and stay in the order given.
 */
#ifndef MCADAPT_RECORDS_H
#define MCADAPT_RECORDS_H

#include <semaphore.h>
#include <stdint.h>

#include "mcadapt/api.h"

/**
 * Type of a field that several threads read and write. The library reads and writes such a field whole; to all others
 * it is of the plain type, and they should access it whole too: an aligned load or store of a field is.
 */
#ifdef MCADAPT_LIBRARY
#include "core/shared.h"
#define MC_SHARED(type) mcadapt::shared<type>
#else
#define MC_SHARED(type) type
#endif

MCADAPT_BEGIN_DECLS

/** Logic ports: the index of every per-port table. 0 is the user port, 1 the uplink, unless `portState` is changed. */
#define MC_LOGIC_PORTS 2
/** Multicast VLAN rules of one logic port. */
#define MC_RULES_PER_PORT 16
/** Entries of a template VLAN list. */
#define MC_TEMPLATE_VLANS 16
/** Static groups of one port. */
#define MC_STATIC_GROUPS_PER_PORT 32
/** Authorised-group entries of one MLD port. */
#define MC_MLD_AUTH_GROUPS 16
/** Group records of the status record. */
#define MC_STATUS_GROUPS 512

/** A VLAN field that is not set, and a free table entry. */
#define MC_NO_VLAN 0xFFFF
/** `portState` type of the uplink. */
#define MC_PORT_TYPE_UPLINK 1
/** `portState` type of a user port. */
#define MC_PORT_TYPE_USER 2
/** Value of `testuplink` while frames for the uplink go to the uplink. */
#define MC_NO_TEST_UPLINK 0xFFFE

/** One multicast VLAN rule of a port, and the argument of the rule operations. */
typedef struct vlanCfgNode {
    MC_SHARED(uint8_t) portNO;         /**< Switch port of the rule; 0xFF in a cleared rule. */
    MC_SHARED(uint8_t) prouptagmode;   /**< Tag mode: 0 untag, 2 or 3 translate, else tag; 4 in a cleared rule. */
    MC_SHARED(uint16_t) in_up_vlan;    /**< VLAN of upstream protocol frames as received; 0xFFFF not set. */
    MC_SHARED(uint16_t) out_up_vlan;   /**< Tag control with which they are sent toward the network. */
    MC_SHARED(uint8_t) prodntagmode;   /**< Tag mode of downstream protocol frames. */
    MC_SHARED(uint16_t) in_dn_vlan;    /**< VLAN of downstream protocol frames as received. */
    MC_SHARED(uint16_t) out_dn_vlan;   /**< Tag control with which they are sent to the user port; 0 strips the tag. */
    MC_SHARED(uint8_t) datedntagmode;  /**< Tag mode of downstream multicast data. */
    MC_SHARED(uint16_t) in_data_vlan;  /**< The multicast VLAN; 0xFFFF marks an empty position. */
    MC_SHARED(uint16_t) out_data_vlan; /**< VLAN of the stream toward the user port. */
    MC_SHARED(uint8_t) ruleFlag;       /**< 0; moved with its rule, set by nobody. */
} vlanCfgNode;

/** IGMP parameters of one logic port. */
typedef struct portParm {
    MC_SHARED(uint16_t) leavemod;      /**< Fast leave: 0 off. */
    MC_SHARED(uint16_t) grouplimit;    /**< Most groups on the port; a limit set to 0 is stored as 1024. */
    MC_SHARED(uint32_t) max_bandwidth; /**< Multicast bandwidth limit, in the engine's unit. */
    MC_SHARED(uint16_t) svlan;         /**< Upstream tag control that overrides the rules; 0xFFFF none. */
    MC_SHARED(uint16_t) svlan_s;       /**< Second value of `igmp_adapt_set_sig_vlan`; stored only. */
    MC_SHARED(uint16_t) cvlan;         /**< Downstream tag control that overrides the rules; 0 strips, 0xFFFF none. */
} portParm;

/** The IGMP parameters. */
typedef struct igmpGlobleParm {
    portParm port[MC_LOGIC_PORTS];                       /**< Parameters of each logic port. */
    MC_SHARED(uint16_t) TemplateVlan[MC_TEMPLATE_VLANS]; /**< Mirror of `PortVlan`, entry by entry. */
    MC_SHARED(uint16_t) defaultVlan;                     /**< Default multicast VLAN given to the engine. */
    MC_SHARED(uint16_t) multiMode;                       /**< Protocol mode: 1 snooping, 2 proxy, 3 control. */
    MC_SHARED(uint16_t) learningMode;                    /**< VLAN learning: 0 off. */
    MC_SHARED(uint8_t) robustness;                       /**< Robustness variable. */
    MC_SHARED(uint8_t) version;                          /**< IGMP version. */
    MC_SHARED(uint32_t) query_interval; /**< Time between general queries, in the engine's unit, as the next two. */
    MC_SHARED(uint32_t) query_max_resp_time;        /**< Query response interval. */
    MC_SHARED(uint32_t) last_member_query_interval; /**< Wait for an answer before a group is left. */
    MC_SHARED(uint32_t) last_member_query_count;    /**< Queries before a group is left. */
    MC_SHARED(uint32_t) general_member_interval;    /**< Also the age enable of `setIgmpAgeEnable`. */
    MC_SHARED(uint32_t) ssm_ip;                     /**< First word of the SSM source pair. */
    MC_SHARED(uint32_t) ssm_ip_arg2;                /**< Second word of it. */
    MC_SHARED(uint32_t) ssm_map[4];         /**< With `ssm_map_arg5` the five words given to the engine by address. */
    MC_SHARED(uint32_t) ssm_map_arg5;       /**< Fifth word of the SSM map entry. */
    MC_SHARED(uint32_t) proxyip;            /**< Proxy source address, IPv4 in host byte order. */
    MC_SHARED(char) compile_date[20];       /**< Build identification, NUL-terminated, as the next two. */
    MC_SHARED(char) compile_time[20];       /**< Time of the build. */
    MC_SHARED(char) version_num[20];        /**< Version of the build. */
    MC_SHARED(uint8_t) pkt_process_disable; /**< Non-zero: the receive task drops every frame. */
} igmpGlobleParm;

/** One logic port: the switch port that it stands for. */
typedef struct portStateNode {
    MC_SHARED(uint32_t) portNo;   /**< Switch port number. */
    MC_SHARED(uint32_t) portType; /**< 1 uplink, 2 user port, 0 none. */
} portStateNode;

/** One static group of a port. */
typedef struct staticGroupEntry {
    MC_SHARED(uint16_t) vlan;  /**< 0xFFFF: the entry is free. */
    MC_SHARED(uint16_t) spare; /**< 0. */
    MC_SHARED(uint32_t) addr;  /**< The group value given to the engine; 0x0000FFFF in a free entry. */
} staticGroupEntry;

/** One authorised MLD group range. */
typedef struct mldAuthGroup {
    MC_SHARED(uint32_t) bandwidth;         /**< In the engine's unit. */
    MC_SHARED(uint32_t) start_groupAdress; /**< First group. */
    MC_SHARED(uint32_t) end_groupAdress;   /**< Last group. */
    MC_SHARED(uint16_t) vlan;              /**< 0: the entry is free. */
} mldAuthGroup;

/** MLD parameters of one logic port. */
typedef struct mldPortParm {
    MC_SHARED(uint16_t) leavemod;               /**< As in `portParm`; no operation sets it, nor the next two. */
    MC_SHARED(uint16_t) grouplimit;             /**< Most groups on the port. */
    MC_SHARED(uint32_t) max_bandwidth;          /**< Multicast bandwidth limit. */
    mldAuthGroup authGroup[MC_MLD_AUTH_GROUPS]; /**< Authorised groups; no operation fills them. */
} mldPortParm;

/** One 802.1Q tag, all fields in host byte order. */
typedef struct mldTagRecord {
    MC_SHARED(uint16_t) tpid; /**< 0x8100; of a frame with one tag the intake leaves the tag control here. */
    MC_SHARED(uint16_t) vid;  /**< VLAN id. */
    MC_SHARED(uint8_t) pri;   /**< Priority, 0 to 7; 0 after the intake. */
} mldTagRecord;

/** The whole MLD side. */
typedef struct mldInitParm {
    MC_SHARED(uint32_t) mldTestUplink;          /**< Twin of `testuplink`. */
    MC_SHARED(uint8_t) mldSrcPortNum;           /**< Twin of `srcPortNum`. */
    MC_SHARED(uint32_t) mldAdapt;               /**< Twin of `igmp_adapt`; 1 enables the traces of rule changes. */
    MC_SHARED(uint32_t) mldOmciVersion;         /**< Twin of `flag_omci_version`. */
    MC_SHARED(int32_t) setVlanNumber;           /**< Entries in `mldTemplateVlan` and `mldVlanList`, 0 to 16. */
    portStateNode mldPortState[MC_LOGIC_PORTS]; /**< Twin of `portState`. */
    mldPortParm mldPort[MC_LOGIC_PORTS];        /**< Parameters of each logic port. */
    MC_SHARED(uint16_t) mldTemplateVlan[MC_TEMPLATE_VLANS]; /**< Template VLANs as the dump shows them. */
    MC_SHARED(int32_t) mldSetVlanCfgNumber[MC_LOGIC_PORTS]; /**< Live rules per logic port, 0 to 16. */
    MC_SHARED(uint32_t) mldVlanList[MC_TEMPLATE_VLANS];     /**< VLANs that the intake searches, low 12 bits. */
    MC_SHARED(uint16_t) defaultVlan;                        /**< Default multicast VLAN. */
    MC_SHARED(uint16_t) multiMode;      /**< MLD mode: 2 snooping, 3 control; not the numbers of the IGMP side. */
    MC_SHARED(uint16_t) learningMode;   /**< VLAN learning: 0 off; no operation sets it. */
    MC_SHARED(uint8_t) robustness;      /**< Robustness variable. */
    MC_SHARED(uint8_t) version;         /**< MLD version. */
    MC_SHARED(uint32_t) query_interval; /**< Time between general queries, in the engine's unit, as the next two. */
    MC_SHARED(uint32_t) query_max_resp_time;        /**< Query response interval. */
    MC_SHARED(uint32_t) last_member_query_interval; /**< Wait for an answer before a group is left. */
    MC_SHARED(uint32_t) last_member_query_count;    /**< Queries before a group is left. */
    MC_SHARED(uint32_t) general_member_interval;    /**< Age enable. */
    MC_SHARED(uint32_t) proxyip;                    /**< Proxy source address, as in `igmpGlobleParm`; stored only. */
    vlanCfgNode mldPortVlanCfg[MC_LOGIC_PORTS][MC_RULES_PER_PORT]; /**< Twin of `PortVlanCfg`. */
    mldTagRecord outerTag; /**< Tag of the last frame, and of the MLD packets that the engine sends. */
    mldTagRecord innerTag; /**< Second tag of the last control-mode upstream frame. */
} mldInitParm;

/** One group of the status record. */
typedef struct grpRecord {
    MC_SHARED(uint16_t) vlanId;       /**< VLAN of the group. */
    MC_SHARED(uint32_t) infoB;        /**< Engine value, passed on; as the other info fields. */
    MC_SHARED(uint32_t) groupAddress; /**< IPv4 group address, as the engine gives it. */
    MC_SHARED(uint32_t) infoD;        /**< Engine value. */
    MC_SHARED(uint32_t) infoE;        /**< `GetIgmpStatusPara` counts its distinct values. */
    MC_SHARED(uint32_t) infoF;        /**< Engine value. */
    MC_SHARED(uint16_t) infoG;        /**< Kept, not passed on. */
    MC_SHARED(uint8_t) userPort;      /**< Port of the group. */
} grpRecord;

/** Status of one interface: four engine counters, in the engine's order. */
typedef struct ifStatus {
    MC_SHARED(uint32_t) counter[4]; /**< Which is which, is the engine's. */
} ifStatus;

/** Status snapshot, and layout of the shared status segment: 14392 bytes. */
typedef struct grp_info {
    MC_SHARED(uint32_t) std_cnt;                          /**< Valid group records, at most 512. */
    grpRecord group[MC_STATUS_GROUPS];                    /**< The first `std_cnt` are valid. */
    ifStatus interfaceStatus[MC_LOGIC_PORTS];             /**< One per logic port. */
    MC_SHARED(uint32_t) spare;                            /**< 0. */
    MC_SHARED(uint32_t) oamFastLeave;                     /**< Fast-leave state last set through OAM: 2 on. */
    MC_SHARED(uint32_t) statusGroupLimit[MC_LOGIC_PORTS]; /**< Group limits as last set. */
    MC_SHARED(uint32_t) statusMode;                       /**< Protocol mode: 1 snooping, 2 proxy, 3 control. */
} grp_info;

/** IGMP parameters. */
extern MCADAPT_API igmpGlobleParm globle_parm;
/** The whole MLD side. */
extern MCADAPT_API mldInitParm mldInitParams;
/** IGMP rules; the live rules of a logic port are the first `setVlanCfgNumber` of its row. */
extern MCADAPT_API vlanCfgNode PortVlanCfg[MC_LOGIC_PORTS][MC_RULES_PER_PORT];
/** Live IGMP rules per logic port, 0 to 16. */
extern MCADAPT_API MC_SHARED(int32_t) setVlanCfgNumber[MC_LOGIC_PORTS];
/** Template VLAN list: the multicast VLANs registered with the engine, in the order of registration. */
extern MCADAPT_API MC_SHARED(uint16_t) PortVlan[MC_TEMPLATE_VLANS];
/** Entries in `PortVlan`, 0 to 16. */
extern MCADAPT_API MC_SHARED(int32_t) setVlanNumber;
/** The two logic ports. */
extern MCADAPT_API portStateNode portState[MC_LOGIC_PORTS];
/** Static groups: the operations on them index by switch port number 0 or 1, the rule operations by logic port. */
extern MCADAPT_API staticGroupEntry g_static_list[MC_LOGIC_PORTS][MC_STATIC_GROUPS_PER_PORT];
/** Static groups per port. */
extern MCADAPT_API MC_SHARED(int32_t) g_static_grp_num[MC_LOGIC_PORTS];
/** Status snapshot; null until start-up, and after an allocation that failed. */
extern MCADAPT_API MC_SHARED(grp_info *) mc_status_global;
/** Default VLAN of the VLAN-setting operations. */
extern MCADAPT_API MC_SHARED(uint16_t) defaultVlan;
/** Port that stands in for the uplink; `MC_NO_TEST_UPLINK` for none. */
extern MCADAPT_API MC_SHARED(uint32_t) testuplink;
/** What the engine is told when a forwarding entry cannot be installed: 0 or 1. */
extern MCADAPT_API MC_SHARED(uint32_t) tablereturn;
/** Trace switch of the rule operations: 1 enables; also the level of the web entry's log. */
extern MCADAPT_API MC_SHARED(int32_t) igmp_adapt;
/** 1 once rules were set by mode; then the standard rule operations neither normalise nor serve MLD. */
extern MCADAPT_API MC_SHARED(uint32_t) flag_omci_version;
/** Protocol mode that the receive path tests: 1 snooping, 2 proxy, 3 control. */
extern MCADAPT_API MC_SHARED(uint8_t) proxy_adapt_mode;
/** Low byte of the port of the last IGMP frame. */
extern MCADAPT_API MC_SHARED(uint8_t) srcPortNum;
/** Multicast VLAN found for the last frame of either family. */
extern MCADAPT_API MC_SHARED(uint32_t) ponVlan;
/** The unit's MAC address, read at start-up before the receive task runs. */
extern MCADAPT_API uint8_t sys_mac[6];
/** MAC address that the MLD side compares with and sends from; nothing fills it. */
extern MCADAPT_API uint8_t mld_sys_mac[6];
/** Log mask of the IGMP side and of the management operations; see `mc_set_debug`. */
extern MCADAPT_API MC_SHARED(uint32_t) mc_debug;
/** Log mask of the MLD side; see `mld_adapt_set_debug`. */
extern MCADAPT_API MC_SHARED(uint32_t) mld_debug;
/** A semaphore for users of the library, which itself neither initialises nor uses it. */
extern MCADAPT_API sem_t gSemIgmpv3;

MCADAPT_END_DECLS

#endif
