/**
 * @file
 * The fixture of the tests of what an accepted frame is given to: the engine, then the handler of the mode.
 */
#ifndef MCADAPT_TESTS_CORE_INTAKE_HANDOVER_H
#define MCADAPT_TESTS_CORE_INTAKE_HANDOVER_H

#include "intake_side.h"

namespace mcadapt::test {

template <class Side> class HandoverTest : public OneIntake<Side> {
protected:
    static const ByteVector &report()
    {
        static const ByteVector frame = Side::report();
        return frame;
    }

    /** The lines of an untagged report up to its mode, on an adapter without rules. */
    static Log accepted(uint32_t port, uint32_t from, int mode)
    {
        std::vector<std::string> texts = {Side::kSearch + (" vlan_id = 0 usPort = " + number(from) + " \r\n")};
        if (from == 29)
            texts.emplace_back("recieve paket from uplink,no need vlan config search!\r\n");
        texts.emplace_back("in searchVlan vlan = 0\r\n");
        append(texts, Side::default_lines());
        texts.emplace_back("GROUP_VLAN = 4088\r\n");
        append(texts, Side::packet_lines(mode));

        Log log = HandoverTest::classified(report(), port, from);
        for (const std::string &text : texts)
            log.push_back(HandoverTest::trace(text));
        return log;
    }

    /** The lines of a frame's sending. */
    static Log sending(const ByteVector &frame, uint32_t port, uint32_t source)
    {
        const std::string length = std::to_string(frame.size());
        return {{MC_DEBUG_TX_DUMP, Side::sent_heading(port, frame.size()) + dumped(frame)},
                HandoverTest::trace(Side::kSender + ("  ifindex = " + number(port)) + " len = " + length +
                                    " srcPortNum = " + number(source) + " ponVlan = 4088\r\n"),
                called("L2_multicast_send_msg(" + hex(frame) + ", " + number(port) + ", " + length + ", " +
                       number(source) + ", 4088)")};
    }

private:
    static void append(std::vector<std::string> &texts, const std::vector<std::string> &more)
    {
        texts.insert(texts.end(), more.begin(), more.end());
    }
};

} // namespace mcadapt::test

#endif
