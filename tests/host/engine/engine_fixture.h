/**
 * @file
 * An engine between a stand-in of the library and a subscriber, on a clock that the test moves.
 */
#ifndef MCADAPT_TESTS_HOST_ENGINE_ENGINE_FIXTURE_H
#define MCADAPT_TESTS_HOST_ENGINE_ENGINE_FIXTURE_H

#include <map>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "host/engine/engine.h"
#include "wire.h"

namespace engine_test {

using namespace mcadapt::host;
using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;
using Lines = std::vector<std::string>;

constexpr uint32_t kUplink = 0xFFFF;

/** The text of an address as observers give it. */
std::string text(const GroupAddress &address);

/** The library's side: callbacks that write down what they are asked, and an observer that does the same. */
class Library : public Observer {
public:
    Library();
    ~Library() override;

    Lines entries;                    /**< "+239.1.2.3 vlan 100 port 0" and "-...". */
    Lines sent;                       /**< "port 0 vlan 100: IGMPv3 query ...". */
    std::vector<wire::Bytes> packets; /**< The same, as bytes. */
    Lines joined;                     /**< Memberships as told, "+" and "-". */
    Lines drops;                      /**< Names of the reasons. */
    Lines refusals;                   /**< "239.1.2.3 vlan 100 port 0: group-limit". */
    Lines texts;                      /**< Of accepted packets. */
    Lines reasons;                    /**< Why memberships changed. */
    int32_t add_answer = 0;
    int32_t remove_answer = 0;
    bool want_texts = true;
    std::function<void()> on_add; /**< Runs inside the add callback. */

    void forget();

    bool wants_texts() const override { return want_texts; }
    void packet_dropped(Family, std::string_view reason, std::string_view why) override;
    void packet_accepted(Family, std::string_view what) override { texts.emplace_back(what); }
    void group_refused(const Membership &membership, std::string_view reason, std::string_view why) override;
    void membership_changed(const Membership &membership, bool in, std::string_view why) override;

    static Library *current;
    void entry(Family family, char sign, const mcGroupRecord &record);
    int32_t send(const uint8_t *packet, uint32_t port, const mcTagDescriptor *tag, uint32_t length);
};

/** Connects the engine's callbacks to the current `Library`. */
void connect(Engine &engine);

/** An engine with ports 0, 1 and the uplink, VLAN 100 registered, IGMP and MLD snooping. */
class EngineTest : public testing::Test {
protected:
    EngineTest() : EngineTest(Limits{}) {}
    explicit EngineTest(Limits limits);

    int32_t give(Family family, const wire::Bytes &packet, uint32_t port = 0, uint32_t vlan = 100);
    int32_t give(const wire::Bytes &packet, uint32_t port = 0, uint32_t vlan = 100);
    /** Moves the clock, firing every timer at its time. */
    void pass(Duration time);
    /** State of a group: "-", "IN(1 2)", "EX(1;3)" with the last parts of the sources' addresses. */
    std::string state(Family family, const std::string &group, uint32_t port = 0, uint32_t vlan = 100) const;
    uint64_t dropped(Family family, DropReason reason) const;
    uint64_t refused(Family family, DropReason reason) const;

    ReplayClock clock_;
    Library library_;
    Engine engine_;
};

/** What differs between the families in a test that runs for both. */
struct Names {
    Family family;
    const char *name;
    std::string group;
    std::string other_group;
    std::string querier; /**< How queries of the unit in snooping mode begin: "IGMPv3 query". */
    std::string from;    /**< Where they come from. */
    int newest;
    int older; /**< The version before. */

    /** Address of source n: 10.9.0.n or fd00::n. */
    std::string source(int n) const;
    std::vector<std::string> sources(const std::vector<int> &numbers) const;
};

const Names &igmp_names();
const Names &mld_names();
std::string family_name(const testing::TestParamInfo<const Names *> &info);

/** A test that must hold for both families alike. */
class TwinTest : public EngineTest, public testing::WithParamInterface<const Names *> {
protected:
    TwinTest() : TwinTest(Limits{}) {}
    explicit TwinTest(Limits limits) : EngineTest(limits), n(*GetParam()) {}

    wire::Bytes record(int type, const std::vector<int> &sources = {}) const { return record(type, n.group, sources); }
    wire::Bytes record(int type, const std::string &group, const std::vector<int> &sources) const
    {
        return wire::report(n.family, {{type, group, n.sources(sources)}});
    }
    std::string group_state(uint32_t port = 0) const { return state(n.family, n.group, port); }
    /** A query of the unit, as `Library::sent` shows it. */
    std::string query_line(const std::string &about, const std::string &to, uint32_t port = 0) const;
    std::string group_query(bool suppress = false, uint32_t port = 0) const;
    std::string source_query(const std::vector<int> &sources, bool suppress = false) const;
    std::string entry(char sign, const std::string &group, uint32_t port = 0) const;

    const Names &n;
};

#define FOR_BOTH_FAMILIES(Suite)                                                                                       \
    INSTANTIATE_TEST_SUITE_P(Both, Suite, testing::Values(&igmp_names(), &mld_names()), family_name)

} // namespace engine_test

#endif
