/** The logic port that a switch port number stands for, and how an unknown one is refused. */
#include "core/ports.h"

#include <string>
#include <vector>

#include "core/families.h"
#include "support/library_test.h"
#include "support/matchers.h"

namespace mcadapt::test {
namespace {

/** Both families look ports up alike, each in its own table and under its own mask. */
template <class F> class PortLookup : public LibraryTest {
protected:
    static void put_ports(portStateNode first, portStateNode second)
    {
        F::ports()[0] = first;
        F::ports()[1] = second;
    }

    static std::string error(const std::string &message)
    {
        return (F::kMld ? "\r\n[MC_MLD_DBG_ERR]: " : "\r\n[MC_DBG_ERR]: ") + message;
    }

    static void open_own_errors()
    {
        log_mask(~0u); // nothing but errors is ever printed
        (F::kMld ? mc_debug : mld_debug) = 0;
    }
};

using Families = ::testing::Types<Igmp, Mld>;

struct FamilyName {
    template <class F> static std::string GetName(int) { return F::kMld ? "Mld" : "Igmp"; }
};

TYPED_TEST_SUITE(PortLookup, Families, FamilyName);

TYPED_TEST(PortLookup, finds_the_user_port_and_the_uplink)
{
    EXPECT_EQ(find_logic_port<TypeParam>(0), 0);
    EXPECT_EQ(find_logic_port<TypeParam>(29), 1);
    for (const uint32_t port : {1u, 2u, 28u, 30u, 255u, 256u, 285u, 0xFFFFu, 0x10000u, 0xFFFFFFFFu})
        EXPECT_EQ(find_logic_port<TypeParam>(port), -1) << port;
}

TYPED_TEST(PortLookup, compares_numbers_and_not_types)
{
    this->put_ports({5, 1}, {0xFFFFFFFF, 0});
    EXPECT_EQ(find_logic_port<TypeParam>(5), 0);
    EXPECT_EQ(find_logic_port<TypeParam>(0xFFFFFFFF), 1);
    EXPECT_EQ(find_logic_port<TypeParam>(0), -1);
    EXPECT_EQ(find_logic_port<TypeParam>(29), -1);
}

TYPED_TEST(PortLookup, takes_the_first_of_two_equal_ports)
{
    this->put_ports({7, 2}, {7, 1});
    EXPECT_EQ(find_logic_port<TypeParam>(7), 0);
}

TYPED_TEST(PortLookup, looks_only_into_the_table_of_its_family)
{
    using Other = std::conditional_t<TypeParam::kMld, Igmp, Mld>;
    Other::ports()[0] = {11, 2};
    EXPECT_EQ(find_logic_port<TypeParam>(11), -1);
    EXPECT_EQ(find_logic_port<Other>(11), 0);
    EXPECT_EQ(find_logic_port<TypeParam>(0), 0);
}

TYPED_TEST(PortLookup, prints_nothing)
{
    this->log_mask(~0u);
    EXPECT_EQ(observe([] { return find_logic_port<TypeParam>(99); }).output, "");
}

TYPED_TEST(PortLookup, the_check_passes_known_ports_silently)
{
    this->log_mask(~0u);
    for (const auto &[port, logic_port] : {std::pair{0u, 0}, {29u, 1}}) {
        const auto seen = observe([port = port] { return check_port_state<TypeParam>(port); });
        EXPECT_EQ(seen.result, logic_port);
        EXPECT_EQ(seen.output, "");
    }
}

TYPED_TEST(PortLookup, the_check_refuses_ports_above_29_even_if_configured)
{
    this->open_own_errors();
    this->put_ports({40, 2}, {0xFFFFFFFF, 1});
    const auto configured = observe([] { return check_port_state<TypeParam>(40); });
    EXPECT_EQ(configured.result, -1);
    EXPECT_EQ(configured.output, this->error("\n port(40) is invalid!"));
    const auto highest = observe([] { return check_port_state<TypeParam>(0xFFFFFFFF); });
    EXPECT_EQ(highest.result, -1);
    EXPECT_EQ(highest.output, this->error("\n port(-1) is invalid!")); // %d prints it as signed
    EXPECT_EQ(observe([] { return check_port_state<TypeParam>(30); }).output, this->error("\n port(30) is invalid!"));
}

TYPED_TEST(PortLookup, the_check_refuses_unknown_ports)
{
    this->open_own_errors();
    for (const uint32_t port : {1u, 28u}) {
        const auto seen = observe([port] { return check_port_state<TypeParam>(port); });
        EXPECT_EQ(seen.result, -1);
        EXPECT_EQ(seen.output, this->error("\n [checkPortState]port(" + std::to_string(port) + ") is not find!"));
    }
    this->put_ports({0, 2}, {28, 1});
    EXPECT_EQ(observe([] { return check_port_state<TypeParam>(29); }).output,
              this->error("\n [checkPortState]port(29) is not find!"));
}

TYPED_TEST(PortLookup, refusals_are_errors_of_the_own_family)
{
    (TypeParam::kMld ? mld_debug : mc_debug) = ~0x04u;
    (TypeParam::kMld ? mc_debug : mld_debug) = ~0u;
    EXPECT_EQ(observe([] { return check_port_state<TypeParam>(30); }).output, "");
    EXPECT_EQ(observe([] { return check_port_state<TypeParam>(1); }).output, "");
    this->log_mask(0);
    (TypeParam::kMld ? mld_debug : mc_debug) = 0x04;
    EXPECT_NE(observe([] { return check_port_state<TypeParam>(30); }).output, "");
    EXPECT_NE(observe([] { return check_port_state<TypeParam>(1); }).output, "");
}

TYPED_TEST(PortLookup, the_uplink_is_the_port_of_type_1)
{
    EXPECT_FALSE(is_uplink<TypeParam>(0));
    EXPECT_TRUE(is_uplink<TypeParam>(1));
    this->put_ports({0, 1}, {29, 0x101});
    EXPECT_TRUE(is_uplink<TypeParam>(0));
    EXPECT_FALSE(is_uplink<TypeParam>(1));
}

class ManagementPortCheck : public LibraryTest {};

TEST_F(ManagementPortCheck, adds_a_line_to_each_refusal)
{
    errors_logged();
    const auto invalid = observe([] { return check_management_port(30); });
    EXPECT_EQ(invalid.result, -1);
    EXPECT_EQ(invalid.output, "\r\n[MC_DBG_ERR]: \n port(30) is invalid!\r\n[MC_DBG_ERR]: port number is invalid!\r\n");
    const auto unknown = observe([] { return check_management_port(28); });
    EXPECT_EQ(unknown.result, -1);
    EXPECT_EQ(unknown.output, "\r\n[MC_DBG_ERR]: \n [checkPortState]port(28) is not find!"
                              "\r\n[MC_DBG_ERR]: port number is invalid!\r\n");
    log_mask(~0x04u);
    EXPECT_EQ(observe([] { return check_management_port(30); }).output, "");
    EXPECT_EQ(observe([] { return check_management_port(28); }).output, "");
}

TEST_F(ManagementPortCheck, passes_known_ports_silently)
{
    log_mask(~0u);
    EXPECT_EQ(check_management_port(0), 0);
    EXPECT_EQ(check_management_port(29), 1);
    EXPECT_EQ(observe([] { return check_management_port(29); }).output, "");
}

TEST_F(ManagementPortCheck, looks_into_the_igmp_table)
{
    mldInitParams.mldPortState[0] = {5, 2};
    EXPECT_EQ(check_management_port(5), -1);
    portState[0] = {5, 2};
    EXPECT_EQ(check_management_port(5), 0);
}

} // namespace
} // namespace mcadapt::test
