// Faults of calls: results, memory, the task, and what does not return.
#include <cstring>
#include <thread>
#include <unistd.h>

#include "broken_ports.h"

namespace mcadapt::test {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::StartsWith;

const uint8_t *kept_memory = nullptr;
volatile uint8_t seen_byte = 0;

// --- Results

const BrokenPort kResults[] = {
    {"a_registration_that_answers_1",
     [](Port &port) {
         const auto keep = port.register_igmp_add;
         port.register_igmp_add = [keep](mcForwardingCallback add) { return keep(add) + 1; };
     },
     "igmp_register_switch_add_table returned 1; the library needs 0 for success, because any other result counts as a "
     "refusal: the library goes on, and no channel is forwarded."},
    {"a_driver_that_opens_with_a_handle", [](Port &port) { port.L2_multicast_init = [] { return 3; }; },
     "L2_multicast_init returned 3; the library needs 0 for success, because any other result counts as a refusal: "
     "start-up ends there: no filter method, mode and proxy address are set."},
    {"a_send_that_answers_the_bytes_sent",
     [](Port &port) { port.L2_multicast_send_msg = [](const uint8_t *, uint32_t, uint32_t) { return 50; }; },
     "L2_multicast_send_msg returned 50; the library needs 0 for success, because any other result counts as a "
     "refusal: the library prints an error, and the frame is lost."},
    {"an_engine_that_refuses_snooping",
     [](Port &port) {
         port.igmp_mode_switch_globle = [](uint32_t mode) {
             good().mode = mode;
             return mode == 1 ? 4 : 0;
         };
     },
     "igmp_mode_switch_globle returned 4; the library needs 0 for success, because any other result counts as a "
     "refusal: engine and library run in different modes."},
    {"a_refusal_whose_low_byte_is_0", [](Port &port) { port.igmp_vlan_add = [](uint32_t) { return -256; }; },
     "igmp_vlan_add returned -256; the library needs a refusal within -128 to 127 and not 0, because it looks at the "
     "low 8 bits only and takes this one for a success."},
    {"groups_gathered_with_0",
     [](Port &port) {
         const auto gather = port.igmp_gather_grp_info;
         port.igmp_gather_grp_info = [gather](uint32_t of_port, uint32_t length, void *buffer) {
             gather(of_port, length, buffer);
             return 0;
         };
     },
     "igmp_gather_grp_info returned 0 and wrote an answer; the library needs a result above 0 with it, because it "
     "takes "
     "0 and below for none and keeps the old status."},
    {"counters_not_gathered",
     [](Port &port) { port.igmp_if_gather_if_status = [](uint32_t, uint32_t, void *) { return -1; }; },
     "igmp_if_gather_if_status returned -1 and wrote nothing; the library needs a result above 0 and the answer, "
     "because it keeps the old status otherwise."},
};

class AWrongResult : public FaultTest {};
TEST_P(AWrongResult, is_told) { expect_found(); }
INSTANTIATE_TEST_SUITE_P(Of, AWrongResult, ::testing::ValuesIn(kResults), broken_name);

// --- Room that a call fills

const BrokenPort kRooms[] = {
    {"a_mac_address_of_8_bytes",
     [](Port &port) {
         port.get_mac_addr = [](const char *, uint8_t *mac, uint32_t) {
             memset(mac, 2, 8);
             return 0;
         };
     },
     "get_mac_addr wrote up to 2 bytes behind the 6 of `mac`; the library needs it to stop there, because its own "
     "variables lie behind them, on the stack or in its records."},
    {"a_mac_address_of_4_bytes",
     [](Port &port) {
         port.get_mac_addr = [](const char *, uint8_t *mac, uint32_t) {
             memset(mac, 2, 4);
             return 0;
         };
     },
     "get_mac_addr wrote 4 of the 6 bytes of the address; the library needs all of them, because it knows the unit's "
     "own frames by them and sends from this address."},
    {"a_mac_address_of_a_group",
     [](Port &port) {
         port.get_mac_addr = [](const char *, uint8_t *mac, uint32_t) {
             memset(mac, 0xFF, 6);
             return 0;
         };
     },
     "get_mac_addr told ff:ff:ff:ff:ff:ff; the library needs the address of one station, because it knows the unit's "
     "own frames by it and sends from it."},
    {"bytes_in_front_of_the_mac_address",
     [](Port &port) {
         port.get_mac_addr = [](const char *, uint8_t *mac, uint32_t) {
             memset(mac - 1, 2, 7);
             return 0;
         };
     },
     "get_mac_addr wrote in front of `mac`; the library needs it to write into the room given, because its own "
     "variables lie in front of it."},
    {"a_time_of_65_bytes",
     [](Port &port) {
         port.igmp_time_now = [](void *time) {
             memset(time, 1, 65);
             return 0;
         };
     },
     "igmp_time_now wrote up to 1 bytes behind the 64 of `time`; the library needs it to stop there, because its own "
     "variables lie behind them, on the stack or in its records."},
    {"groups_beyond_the_buffer",
     [](Port &port) {
         const auto gather = port.igmp_gather_grp_info;
         port.igmp_gather_grp_info = [gather](uint32_t of_port, uint32_t length, void *buffer) {
             static_cast<uint8_t *>(buffer)[length + 24] = 1;
             return gather(of_port, length, buffer);
         };
     },
     "igmp_gather_grp_info wrote up to 25 bytes behind the 12804 of `buffer`; the library needs it to stop there, "
     "because its own variables lie behind them, on the stack or in its records."},
    {"counters_beyond_the_buffer",
     [](Port &port) {
         port.igmp_if_gather_if_status = [](uint32_t, uint32_t, void *buffer) {
             memset(buffer, 1, 20);
             return 1;
         };
     },
     "igmp_if_gather_if_status wrote up to 4 bytes behind the 16 of `buffer`; the library needs it to stop there, "
     "because its own variables lie behind them, on the stack or in its records."},
    {"an_onu_id_of_4_bytes",
     [](Port &port) {
         port.vx_ploam_onuid_get = [](uint8_t *id) {
             const uint32_t word = 5;
             memcpy(id, &word, sizeof(word));
             id[0] = 5;
             return 0;
         };
     },
     "vx_ploam_onuid_get wrote up to 3 bytes behind the 1 of `onuId`; the library needs it to stop there, because its "
     "own variables lie behind them, on the stack or in its records."},
    {"an_onu_id_that_is_not_written", [](Port &port) { port.vx_ploam_onuid_get = [](uint8_t *) { return -1; }; },
     "vx_ploam_onuid_get wrote 0 of the 1 bytes of `onuId`; the library needs it written whole in every case, because "
     "it looks at nothing else, the result included."},
    {"an_onu_id_out_of_range",
     [](Port &port) {
         port.vx_ploam_onuid_get = [](uint8_t *id) {
             *id = 255;
             return 0;
         };
     },
     "vx_ploam_onuid_get told 255, which no ONU gets; the library needs 0 while none is assigned, because it tags "
     "upstream frames with what it is told and knows only 0 for unassigned."},
    {"an_uplink_mode_of_1_byte",
     [](Port &port) {
         port.vx_hal_nni_upmode_get = [](uint32_t *mode) {
             memset(mode, 0, 1);
             return 0;
         };
     },
     "vx_hal_nni_upmode_get wrote 1 of the 4 bytes of `upMode`; the library needs it written whole in every case, "
     "because it looks at nothing else, the result included."},
    {"an_uplink_mode_that_is_an_error",
     [](Port &port) {
         port.vx_hal_nni_upmode_get = [](uint32_t *mode) {
             *mode = 0xFFFFFFFF;
             return -1;
         };
     },
     "vx_hal_nni_upmode_get told mode 4294967295; the library needs 0 for EPON or 1 for GPON, because it takes "
     "everything but 0 for GPON, a code of an error too."},
};

class AWrongRoom : public FaultTest {};
TEST_P(AWrongRoom, is_told) { expect_found(); }
INSTANTIATE_TEST_SUITE_P(Of, AWrongRoom, ::testing::ValuesIn(kRooms), broken_name);

// --- Memory that is only lent

const BrokenPort kMemory[] = {
    {"a_send_that_keeps_the_frame",
     [](Port &port) {
         kept_memory = nullptr;
         port.L2_multicast_send_msg = [](const uint8_t *frame, uint32_t, uint32_t) {
             if (kept_memory == nullptr)
                 kept_memory = frame;
             else
                 seen_byte = *kept_memory;
             return 0;
         };
     },
     "L2_multicast_send_msg kept its argument `frame` and used it after it had returned; the library needs no "
     "reference "
     "kept, because the memory is its own again and holds something else by then."},
    {"a_send_that_writes_the_frame",
     [](Port &port) {
         port.L2_multicast_send_msg = [](const uint8_t *frame, uint32_t, uint32_t) {
             const_cast<uint8_t *>(frame)[12] = 0x88;
             return 0;
         };
     },
     "L2_multicast_send_msg wrote into its argument `frame` (byte 12 was 81 and is now 88); the library needs it "
     "unchanged, because it goes on using it: the same bytes are sent to further ports or are its own configuration."},
    {"a_send_that_pads_with_what_lies_behind",
     [](Port &port) {
         port.L2_multicast_send_msg = [](const uint8_t *frame, uint32_t, uint32_t length) {
             for (uint32_t i = 0; i < length || i < 60; ++i)
                 seen_byte = frame[i];
             return 0;
         };
     },
     "L2_multicast_send_msg reached behind the end of `frame`; the library needs it to keep to what it was given, "
     "because what lies behind is not part of it and may not even be memory."},
    {"a_map_that_keeps_the_words",
     [](Port &port) {
         port.igmp_ssm_map_change = [](const uint32_t *words) {
             kept_memory = reinterpret_cast<const uint8_t *>(words);
             return 0;
         };
         port.auth_group_delete_all_api = [] {
             seen_byte = *kept_memory;
             return 0;
         };
     },
     "igmp_ssm_map_change kept its argument `words` and used it after it had returned; the library needs no reference "
     "kept, because the memory is its own again and holds something else by then."},
    {"a_control_entry_that_keeps_the_address",
     [](Port &port) {
         port.igmp_oam_control_2 = [](uint32_t, uint32_t, uint32_t, const uint8_t *address) {
             kept_memory = address;
             return 0;
         };
         port.auth_group_delete_all_api = [] {
             seen_byte = *kept_memory;
             return 0;
         };
     },
     "igmp_oam_control_2 kept its argument `address` and used it after it had returned; the library needs no reference "
     "kept, because the memory is its own again and holds something else by then."},
    {"a_white_list_that_keeps_the_groups",
     [](Port &port) {
         kept_memory = nullptr;
         port.igmp_if_add_auth_group_cfg = [](uint32_t, uintptr_t start, uintptr_t) {
             if (kept_memory == nullptr)
                 kept_memory = reinterpret_cast<const uint8_t *>(start);
             return 0;
         };
         port.auth_group_delete_all_api = [] {
             seen_byte = *kept_memory;
             return 0;
         };
     },
     "igmp_if_add_auth_group_cfg kept its argument `start` and used it after it had returned; the library needs no "
     "reference kept, because the memory is its own again and holds something else by then."},
    {"a_setting_whose_name_is_kept",
     [](Port &port) {
         const auto read = port.get_mac_addr;
         port.get_mac_addr = [read](const char *setting, uint8_t *mac, uint32_t length) {
             kept_memory = reinterpret_cast<const uint8_t *>(setting);
             return read(setting, mac, length);
         };
         port.auth_group_delete_all_api = [] {
             seen_byte = *kept_memory;
             return 0;
         };
     },
     "get_mac_addr kept its argument `setting` and used it after it had returned; the library needs no reference kept, "
     "because the memory is its own again and holds something else by then."},
    {"a_task_that_writes_its_number_later",
     [](Port &port) {
         const auto create = port.pal_task_create;
         port.pal_task_create = [create](uint32_t *id, const char *name, uint32_t stack_bytes, palTaskEntry entry) {
             kept_memory = reinterpret_cast<uint8_t *>(id);
             return create(id, name, stack_bytes, entry);
         };
         port.auth_group_delete_all_api = [] {
             *const_cast<uint8_t *>(kept_memory) = 2;
             return 0;
         };
     },
     "pal_task_create kept its argument `taskId` and used it after it had returned; the library needs no reference "
     "kept, because the memory is its own again and holds something else by then."},
    {"an_entry_that_keeps_the_address",
     [](Port &port) {
         kept_memory = nullptr;
         port.L2_multicast_set_port_iptv_entry = [](int32_t, const uint8_t *mac, uint32_t) {
             if (kept_memory == nullptr)
                 kept_memory = mac;
             else
                 seen_byte = *kept_memory;
             return 0;
         };
     },
     "L2_multicast_set_port_iptv_entry kept its argument `mac` and used it after it had returned; the library needs no "
     "reference kept, because the memory is its own again and holds something else by then."},
};

class MisusedMemory : public FaultTest {};
TEST_P(MisusedMemory, is_told) { expect_found(); }
INSTANTIATE_TEST_SUITE_P(By, MisusedMemory, ::testing::ValuesIn(kMemory), broken_name);

// --- The receive task

const BrokenPort kTasks[] = {
    {"that_is_refused",
     [](Port &port) { port.pal_task_create = [](uint32_t *, const char *, uint32_t, palTaskEntry) { return -1; }; },
     "pal_task_create returned -1; the library needs 0 for a task that was created, because it takes anything else for "
     "a unit that receives no frames."},
    {"that_never_starts",
     [](Port &port) { port.pal_task_create = [](uint32_t *, const char *, uint32_t, palTaskEntry) { return 0; }; },
     "pal_task_create returned 0, and the entry did not run within 50 ms; the library needs the task to start with the "
     "entry given, because only that one reads frames."},
    {"with_an_entry_of_its_own",
     [](Port &port) {
         port.pal_task_create = [](uint32_t *, const char *, uint32_t stack_bytes, palTaskEntry) {
             return create_task(stack_bytes, [] {});
         };
     },
     "pal_task_create returned 0, and the entry did not run within 50 ms; the library needs the task to start with the "
     "entry given, because only that one reads frames."},
    {"on_the_callers_thread",
     [](Port &port) {
         port.pal_task_create = [](uint32_t *, const char *, uint32_t, palTaskEntry entry) {
             entry();
             return 0;
         };
     },
     "pal_task_create ran the entry on the thread that called it; the library needs a thread of its own for it, "
     "because "
     "the entry never returns, and neither would mc_igmp_init."},
    {"that_is_two",
     [](Port &port) {
         port.pal_task_create = [](uint32_t *, const char *, uint32_t stack_bytes, palTaskEntry entry) {
             return create_task(stack_bytes, entry) + create_task(stack_bytes, entry);
         };
     },
     "pal_task_create ran the entry 2 times; the library needs it run once, because each run reads frames of its own "
     "into the records that all share."},
};

class ATask : public FaultTest {};
TEST_P(ATask, is_told) { expect_found(); }
INSTANTIATE_TEST_SUITE_P(Made, ATask, ::testing::ValuesIn(kTasks), broken_name);

class AStack : public CheckTest {};

TEST_F(AStack, of_less_than_was_asked_for_is_told)
{
    static constexpr uint32_t kSmallStack = 32768;
    if (sysconf(_SC_THREAD_STACK_MIN) > static_cast<long>(kSmallStack))
        GTEST_SKIP() << "no thread of this system has so small a stack";
    port().pal_task_create = [](uint32_t *, const char *, uint32_t, palTaskEntry entry) {
        return create_task(kSmallStack, entry);
    };
    EXPECT_THAT(check().faults(),
                ElementsAre("pal_task_create made a task with a stack of 32768 bytes; the library needs the 51200 that "
                            "it asks for, because the frame, its copies and the engine's own calls lie on it."));
}

// --- What does not return

std::mutex for_ever;

class AStop : public CheckTest {
protected:
    Told check_stopped()
    {
        const Told told = check();
        EXPECT_EQ(told.result, MC_PORTCHECK_STOPPED);
        EXPECT_THAT(told.summary, StartsWith("Port check stopped: "));
        return told;
    }
};

TEST_F(AStop, names_a_call_that_blocks)
{
    options.limitMs = 500;
    for_ever.lock();
    port().L2_multicast_read_msg = [](uint8_t *, uint8_t *, uint32_t *) {
        for_ever.lock();
        return 1;
    };
    EXPECT_THAT(
        check_stopped().faults(),
        ElementsAre("L2_multicast_read_msg did not return within 500 ms, on the receive task; the library needs "
                    "every call to return, because it sets no time limit and does nothing else on that "
                    "thread."));
}

// One lock around every call, held while the engine calls back.
TEST_F(AStop, names_a_call_that_waits_for_its_own_caller)
{
    static std::mutex lock;
    options.limitMs = 500;
    const auto receive = port().igmp_pkt_recv;
    port().igmp_pkt_recv = [receive](const uint8_t *ip, uint32_t length, uint32_t from, uint32_t vlan) {
        const std::lock_guard<std::mutex> locked(lock);
        return receive(ip, length, from, vlan);
    };
    port().L2_multicast_set_port_iptv_entry = [](int32_t, const uint8_t *, uint32_t) {
        const std::lock_guard<std::mutex> locked(lock);
        return 0;
    };
    EXPECT_THAT(
        check_stopped().faults(),
        ElementsAre("L2_multicast_set_port_iptv_entry did not return within 500 ms, called by a callback inside "
                    "igmp_pkt_recv; the library needs it to return there too, because its callbacks make this "
                    "call on the thread that is inside the engine: no lock may be held that both need."));
}

TEST_F(AStop, names_a_call_that_crashes)
{
    static volatile uintptr_t no_memory = 64;
    port().igmp_vlan_add = [](uint32_t) -> int32_t { return *reinterpret_cast<const volatile uint8_t *>(no_memory); };
    EXPECT_THAT(check_stopped().faults(),
                ElementsAre("igmp_vlan_add crashed (SIGSEGV), on the thread of start-up and management; the library "
                            "needs every call to return, because the process that it runs in dies with it."));
}

TEST_F(AStop, names_an_engine_that_calls_back_before_it_can)
{
    good().igmp_add = nullptr;
    port().igmp_task_init = [](int32_t, int32_t) {
        static std::atomic<bool> running{false};
        std::thread([] {
            const mcGroupRecord record = group_record(100, 0xEF010203, false);
            running = true;
            good().igmp_add(&record);
        }).detach();
        while (!running)
            std::this_thread::yield();
        return 0;
    };
    EXPECT_THAT(check_stopped().faults(),
                ElementsAre("The engine, started by igmp_task_init and mld_task_init, crashed (SIGSEGV) before any "
                            "callback was registered; the library needs an engine that calls none before, because it "
                            "starts the engine's tasks first and nothing orders the two."));
}

TEST_F(AStop, lists_what_was_not_called)
{
    port().L2_multicast_init = []() -> int32_t { abort(); };
    const Told told = check_stopped();
    EXPECT_THAT(told.lines, Contains("Not called:"));
    EXPECT_THAT(told.faults(), ElementsAre(StartsWith("L2_multicast_init crashed (SIGABRT)")));
}

} // namespace
} // namespace mcadapt::test
