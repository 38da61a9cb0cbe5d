#include "core/shared.h"

#include <climits>
#include <cstddef>
#include <cstdint>
#include <type_traits>

#include <gtest/gtest.h>

namespace mcadapt::test {
namespace {

struct PlainRecord {
    uint8_t a;
    uint16_t b;
    uint32_t c;
    uint8_t d[3];
};

struct SharedRecord {
    shared<uint8_t> a;
    shared<uint16_t> b;
    shared<uint32_t> c;
    shared<uint8_t> d[3];
};

TEST(SharedField, lies_where_the_plain_one_does)
{
    static_assert(std::is_standard_layout_v<SharedRecord>);
    EXPECT_EQ(sizeof(SharedRecord), sizeof(PlainRecord));
    EXPECT_EQ(alignof(SharedRecord), alignof(PlainRecord));
    EXPECT_EQ(offsetof(SharedRecord, b), offsetof(PlainRecord, b));
    EXPECT_EQ(offsetof(SharedRecord, c), offsetof(PlainRecord, c));
    EXPECT_EQ(offsetof(SharedRecord, d), offsetof(PlainRecord, d));
}

TEST(SharedField, holds_what_was_stored)
{
    shared<uint16_t> field = 7;
    EXPECT_EQ(field, 7);
    field = 0xFFFF;
    EXPECT_EQ(field, 0xFFFF);
    EXPECT_EQ(*plain(&field), 0xFFFF);
    *plain(&field) = 9;
    EXPECT_EQ(field, 9);
}

TEST(SharedField, gives_its_value_to_a_message)
{
    const shared<uint8_t> narrow = 200;
    const shared<uint32_t> word = 0xFFFFFFFF;
    static_assert(std::is_same_v<decltype(+narrow), int>);
    static_assert(std::is_same_v<decltype(+word), uint32_t>);
    EXPECT_EQ(+narrow, 200);
    EXPECT_EQ(+word, 0xFFFFFFFF);
}

TEST(SharedField, counts_up_and_down_and_wraps_at_both_ends)
{
    shared<int32_t> count = INT_MAX;
    EXPECT_EQ(++count, INT_MIN);
    EXPECT_EQ(--count, INT_MAX);
    shared<uint8_t> narrow = 0;
    EXPECT_EQ(--narrow, 255);
    EXPECT_EQ(++narrow, 0);
}

TEST(SharedField, is_copied_with_its_record)
{
    const SharedRecord from = {1, 2, 3, {4, 5, 6}};
    SharedRecord to = {};
    to = from;
    EXPECT_EQ(to.a, 1);
    EXPECT_EQ(to.b, 2);
    EXPECT_EQ(to.c, 3U);
    EXPECT_EQ(to.d[2], 6);
}

TEST(SharedField, of_a_pointer_leads_to_its_block)
{
    PlainRecord block = {1, 2, 3, {}};
    shared<PlainRecord *> field = nullptr;
    EXPECT_EQ(field, nullptr);
    field = &block;
    PlainRecord *const seen = field;
    EXPECT_EQ(seen, &block);
}

TEST(SharedField, can_be_a_constant)
{
    constexpr SharedRecord record = {1, 2, 3, {4, 5, 6}};
    static_assert(record.b == 2 && record.d[1] == 5);
    constexpr SharedRecord copy = record;
    static_assert(copy.c == 3);
}

} // namespace
} // namespace mcadapt::test
