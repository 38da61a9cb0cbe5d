#include "platform/unit_services.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <future>
#include <pthread.h>
#include <string>
#include <thread>

#include "host/unit/unit_binding.h"

namespace mcadapt::host::test {
namespace {

using ::testing::ElementsAre;

// A task is a plain function: what the threaded one sees is kept here.
struct Seen {
    std::thread::id thread;
    std::string name;
};
std::promise<Seen> *task_ran = nullptr;
void tell_thread()
{
    char name[16] = "";
    pthread_getname_np(pthread_self(), name, sizeof(name));
    task_ran->set_value({std::this_thread::get_id(), name});
}
void first_task() { FAIL() << "ran by itself"; }
void second_task() { FAIL() << "ran by itself"; }

int32_t create(palTaskEntry entry, uint32_t *id, const char *name = "tMCPktRecv")
{
    return pal_task_create(id, name, 101, 0, 51200, entry);
}

class UnitServices : public ::testing::Test {
protected:
    UnitSettings settings;

    void run_with(Tasks tasks) { install(&settings, tasks); }
    void SetUp() override { run_with(Tasks::kStored); }
    void TearDown() override
    {
        join_tasks();
        install(nullptr, Tasks::kStored);
    }
};

TEST_F(UnitServices, give_the_mac_address_of_the_settings)
{
    settings.mac = {{2, 3, 4, 5, 6, 7}};
    uint8_t mac[6] = {};
    EXPECT_EQ(get_mac_addr("ethaddr", mac, 6), 0);
    EXPECT_THAT(mac, ElementsAre(2, 3, 4, 5, 6, 7));
}

TEST_F(UnitServices, know_no_other_address_and_then_write_none)
{
    uint8_t mac[6] = {9, 9, 9, 9, 9, 9};
    for (const char *setting : {"", "ethaddr1", "ETHADDR", "ethadd"})
        EXPECT_NE(get_mac_addr(setting, mac, 6), 0) << setting;
    EXPECT_THAT(mac, ElementsAre(9, 9, 9, 9, 9, 9));
}

TEST_F(UnitServices, write_no_more_of_the_mac_address_than_there_is_room_and_no_more_than_it_has)
{
    settings.mac = {{2, 3, 4, 5, 6, 7}};
    std::array<uint8_t, 8> room = {{9, 9, 9, 9, 9, 9, 9, 9}};
    EXPECT_EQ(get_mac_addr("ethaddr", room.data(), 4), 0);
    EXPECT_THAT(room, ElementsAre(2, 3, 4, 5, 9, 9, 9, 9));
    EXPECT_EQ(get_mac_addr("ethaddr", room.data(), 8), 0);
    EXPECT_THAT(room, ElementsAre(2, 3, 4, 5, 6, 7, 9, 9));
}

TEST_F(UnitServices, tell_the_uplink_and_the_onu_id_of_the_settings_as_they_are_now)
{
    uint32_t mode = 77;
    uint8_t onu_id = 77;
    settings.uplink = Uplink::kEpon;
    settings.onu_id = 0;
    EXPECT_EQ(vx_hal_nni_upmode_get(&mode), 0);
    EXPECT_EQ(vx_ploam_onuid_get(&onu_id), 0);
    EXPECT_EQ(mode, 0u);
    EXPECT_EQ(onu_id, 0);

    settings.uplink = Uplink::kGpon;
    settings.onu_id = 255;
    vx_hal_nni_upmode_get(&mode);
    vx_ploam_onuid_get(&onu_id);
    EXPECT_NE(mode, 0u);
    EXPECT_EQ(onu_id, 255);
}

TEST_F(UnitServices, keep_the_entry_of_a_task_in_a_replay)
{
    EXPECT_EQ(stored_task(), nullptr);
    uint32_t first = 0;
    uint32_t second = 0;
    EXPECT_EQ(create(first_task, &first), 0);
    EXPECT_EQ(stored_task(), first_task);
    EXPECT_EQ(create(second_task, &second), 0);
    EXPECT_EQ(stored_task(), second_task);
    EXPECT_NE(first, 0u);
    EXPECT_NE(first, second);
    run_with(Tasks::kStored);
    EXPECT_EQ(stored_task(), nullptr);
}

TEST_F(UnitServices, run_a_task_on_a_thread_of_its_own_and_of_its_name_when_live)
{
    run_with(Tasks::kThreads);
    struct {
        const char *given;
        const char *thread;
    } const cases[] = {{"tMCPktRecv", "tMCPktRecv"}, {"a name too long to keep", "a name too long"}};
    for (const auto &c : cases) {
        SCOPED_TRACE(c.given);
        std::promise<Seen> ran;
        task_ran = &ran;
        uint32_t id = 0;
        EXPECT_EQ(create(tell_thread, &id, c.given), 0);
        EXPECT_NE(id, 0u);
        const Seen seen = ran.get_future().get();
        join_tasks();
        EXPECT_NE(seen.thread, std::this_thread::get_id());
        EXPECT_EQ(seen.name, c.thread);
    }
}

std::atomic<int> passes{0};
void endless_task()
{
    for (;;)
        if (++passes == 3)
            leave_task();
}

// The receive task has no end of its own; a unit that is taken apart ends it from inside a call.
TEST_F(UnitServices, a_live_task_can_be_left_and_waited_for)
{
    run_with(Tasks::kThreads);
    for (int unit = 0; unit < 2; ++unit) {
        passes = 0;
        uint32_t id = 0;
        EXPECT_EQ(create(endless_task, &id), 0);
        join_tasks();
        EXPECT_EQ(passes, 3);
    }
    join_tasks(); // there is none left
}

TEST_F(UnitServices, are_refused_without_settings_but_write_what_nobody_checks)
{
    install(nullptr, Tasks::kThreads);
    uint8_t mac[6] = {};
    uint8_t onu_id = 77;
    uint32_t mode = 77;
    uint32_t id = 0;
    EXPECT_NE(get_mac_addr("ethaddr", mac, 6), 0);
    EXPECT_NE(vx_ploam_onuid_get(&onu_id), 0);
    EXPECT_EQ(onu_id, 0);
    EXPECT_NE(vx_hal_nni_upmode_get(&mode), 0);
    EXPECT_NE(mode, 77u);
    EXPECT_NE(create(first_task, &id), 0);
    EXPECT_EQ(stored_task(), nullptr);
}

} // namespace
} // namespace mcadapt::host::test
