/**
 * @file
 * Arguments of a management operation, from the words of a configuration.
 */
#ifndef MCADAPT_HOST_PROGRAM_ARGUMENTS_H
#define MCADAPT_HOST_PROGRAM_ARGUMENTS_H

#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace mcadapt::host {

/** A word that is not what was expected; the text names the word and says what was. */
class WordError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

enum class Kind : uint8_t {
    kByte,   /**< 0 to 255. */
    kWord,   /**< 0 to 65535. */
    kNumber, /**< 0 to 4294967295. */
    kSigned, /**< -2147483648 to 2147483647. */
    kIpv4,   /**< An IPv4 address, or its number in host byte order. */
    kEntries /**< OAM control entries: PORT/VLAN/MAC, several joined by commas. */
};

/** What a kind of argument takes, for help and errors. */
const char *kind_text(Kind kind);

/** One argument of an operation. */
struct Argument {
    const char *name;
    Kind kind;
    const char *help;
    const char *otherwise = nullptr; /**< Taken when it is left out; null: it must be given. */
};

/** One OAM control entry. */
struct ControlEntryWord {
    uint16_t port;
    uint16_t vlan;
    uint8_t mac[6];
};

/** The values of an operation's arguments, in the order of its table row. */
class Values {
public:
    /**
     * @param words  `name=value`, or values alone in the order of the arguments.
     * Throws `WordError`.
     */
    Values(const std::vector<Argument> &arguments, const std::vector<std::string> &words);

    uint8_t byte(std::size_t index) const { return static_cast<uint8_t>(numbers_.at(index)); }
    uint16_t word(std::size_t index) const { return static_cast<uint16_t>(numbers_.at(index)); }
    uint32_t number(std::size_t index) const { return static_cast<uint32_t>(numbers_.at(index)); }
    int32_t integer(std::size_t index) const { return static_cast<int32_t>(numbers_.at(index)); }
    const std::vector<ControlEntryWord> &entries() const { return entries_; }

private:
    void take(const Argument &argument, std::size_t index, const std::string &word);

    std::vector<int64_t> numbers_;
    std::vector<ControlEntryWord> entries_;
};

/** A number within a range; decimal, or hexadecimal with 0x. Throws `WordError` naming `what`. */
int64_t parse_number(std::string_view word, int64_t lowest, int64_t highest, std::string_view what);

/** Six bytes from `02:19:c6:01:02:03`. Throws `WordError`. */
void parse_mac(std::string_view word, uint8_t (&mac)[6]);

} // namespace mcadapt::host

#endif
