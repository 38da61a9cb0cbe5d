/**
 * @file
 * The fixture of the tests of the multicast VLAN: the lines by which it is found, and the VLAN that the engine gets.
 */
#ifndef MCADAPT_TESTS_CORE_INTAKE_VLAN_SEARCH_H
#define MCADAPT_TESTS_CORE_INTAKE_VLAN_SEARCH_H

#include "intake_side.h"

namespace mcadapt::test {

template <class Side> class VlanSearchTest : public OneIntake<Side> {
protected:
    std::string search_log(const ByteVector &frame, uint32_t port = 0, uint32_t mask = MC_DEBUG_TRACE)
    {
        Side::mask() = mask;
        return part(this->take(frame, port).output, lines({Side::kSearch}), lines({"GROUP_VLAN"}));
    }

    /** The VLAN found, which must be the same in all three places that get it. */
    uint32_t vlan_of(const ByteVector &frame, uint32_t port = 0)
    {
        ponVlan = 0xEEEEEEEE;
        Side::mask() = MC_DEBUG_TRACE;
        const auto seen = this->take(frame, port);
        const uint32_t vlan = platform().engine_packets.back().vlan;
        EXPECT_EQ(ponVlan, vlan);
        EXPECT_THAT(seen.output, ::testing::HasSubstr(lines({"GROUP_VLAN = " + number(vlan) + "\r\n"})));
        return vlan;
    }

    /** Traces with these texts, and with those in which the search ends. */
    static std::string lines(const std::vector<std::string> &texts, const std::vector<std::string> &end = {})
    {
        std::string all;
        for (const auto *part : {&texts, &end})
            for (const std::string &text : *part)
                all += VlanSearchTest::trace(text).text;
        return all;
    }

    /** The first line of the search. */
    static std::string searched(uint32_t vlan, uint32_t port)
    {
        return Side::kSearch + (" vlan_id = " + number(vlan) + " usPort = " + number(port) + " \r\n");
    }

    static FrameBuilder report(uint16_t vlan) { return Side::report().vlan(vlan); }
};

} // namespace mcadapt::test

#endif
