#include "portcheck/report.h"

#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <pthread.h>

namespace mcadapt::portcheck {

namespace {

constexpr uint32_t kDefaultLimitMs = 5000;
constexpr uint32_t kDefaultWaitMs = 3000;
constexpr std::size_t kLineBytes = 600;
constexpr int kKeptLines = 128;

constexpr CallRow kRows[] = {
#define MC_ROW(name, result, refusal, changes, otherwise) {#name, Result::result, Refusal::refusal, changes, otherwise},
    MC_PLATFORM_CALLS(MC_ROW)
#undef MC_ROW
};
static_assert(sizeof(kRows) / sizeof(kRows[0]) == kCalls);

pthread_mutex_t lock = PTHREAD_MUTEX_INITIALIZER;
mcPortcheckOptions chosen;
bool made[kCalls];
bool seen[kCalls];
int faults;
int notes;
char kept[kKeptLines][kLineBytes]; // told already; a call that fails each time is told once
int kept_lines;

struct Locked {
    Locked() { pthread_mutex_lock(&lock); }
    ~Locked() { pthread_mutex_unlock(&lock); }
    Locked(const Locked &) = delete;
    Locked &operator=(const Locked &) = delete;
};

void print_line(const char *line)
{
    if (chosen.print != nullptr)
        chosen.print(chosen.context, line);
    else
        puts(line);
}

bool told_before(const char *line)
{
    for (int i = 0; i < kept_lines; ++i)
        if (strcmp(kept[i], line) == 0)
            return true;
    if (kept_lines < kKeptLines)
        memcpy(kept[kept_lines++], line, strlen(line) + 1);
    return false;
}

[[gnu::format(printf, 2, 0)]] void write_line(char (&line)[kLineBytes], const char *format, va_list arguments)
{
    const std::size_t head = strlen(line);
    vsnprintf(line + head, sizeof(line) - head, format, arguments);
}

int count(const bool (&flags)[kCalls])
{
    int set = 0;
    for (const bool flag : flags)
        set += flag ? 1 : 0;
    return set;
}

bool is_made_unseen(int i) { return made[i] && !seen[i]; }
bool is_not_made(int i) { return !made[i]; }

// A paragraph of names, a few to a line.
void list_calls(const char *heading, bool (*belongs)(int))
{
    char line[kLineBytes] = "";
    bool headed = false;
    for (int i = 0; i < kCalls; ++i) {
        if (!belongs(i))
            continue;
        if (!headed)
            print_line(heading);
        headed = true;
        if (line[0] != '\0' && strlen(line) + strlen(kRows[i].name) > 110) {
            print_line(line);
            line[0] = '\0';
        }
        strcat(line, line[0] == '\0' ? "         " : " ");
        strcat(line, kRows[i].name);
    }
    if (line[0] != '\0')
        print_line(line);
}

const char *plural(int number) { return number == 1 ? "" : "s"; }

void print_summary(bool stopped)
{
    char line[kLineBytes];
    if (stopped)
        snprintf(line, sizeof(line), "Port check stopped: %d of %d calls made, %d fault%s.", count(made), kCalls,
                 faults, plural(faults));
    else if (faults != 0)
        snprintf(line, sizeof(line), "Port check failed: %d of %d calls made, %d fault%s, %d note%s.", count(made),
                 kCalls, faults, plural(faults), notes, plural(notes));
    else
        snprintf(line, sizeof(line), "Port check passed: %d of %d calls made, no fault, %d note%s.", count(made),
                 kCalls, notes, plural(notes));
    print_line(line);
}

} // namespace

const CallRow &row(Call call) { return kRows[static_cast<int>(call)]; }

void open_report(const mcPortcheckOptions &given)
{
    const Locked locked;
    chosen = given;
    if (chosen.limitMs == 0)
        chosen.limitMs = kDefaultLimitMs;
    if (chosen.waitMs == 0)
        chosen.waitMs = kDefaultWaitMs;
    memset(made, 0, sizeof(made));
    memset(seen, 0, sizeof(seen));
    faults = notes = kept_lines = 0;
}

const mcPortcheckOptions &options() { return chosen; }

void tell(const char *format, ...)
{
    const Locked locked;
    if (chosen.quiet != 0)
        return;
    char line[kLineBytes] = "";
    va_list arguments;
    va_start(arguments, format);
    write_line(line, format, arguments);
    va_end(arguments);
    print_line(line);
}

void fault(const char *format, ...)
{
    const Locked locked;
    char line[kLineBytes] = "FAULT  ";
    va_list arguments;
    va_start(arguments, format);
    write_line(line, format, arguments);
    va_end(arguments);
    if (told_before(line))
        return;
    ++faults;
    print_line(line);
}

void note(const char *format, ...)
{
    const Locked locked;
    char line[kLineBytes] = "note   ";
    va_list arguments;
    va_start(arguments, format);
    write_line(line, format, arguments);
    va_end(arguments);
    if (told_before(line))
        return;
    ++notes;
    if (chosen.quiet == 0)
        print_line(line);
}

void tell_call(Call call)
{
    {
        const Locked locked;
        bool &first = made[static_cast<int>(call)];
        if (first)
            return;
        first = true;
    }
    if (row(call).changes != nullptr)
        tell("call   %s: %s", name(call), row(call).changes);
    else
        tell("call   %s", name(call));
}

void saw_effect(Call call)
{
    const Locked locked;
    seen[static_cast<int>(call)] = true;
}

bool judge(Call call, int32_t result)
{
    const CallRow &facts = row(call);
    if (facts.result == Result::kUnused || result == 0)
        return true;
    if (facts.result == Result::kByte && (result & 0xFF) == 0) {
        fault("%s returned %d; the library needs a refusal within -128 to 127 and not 0, because it looks at the low 8 "
              "bits only and takes this one for a success.",
              facts.name, result);
        return false;
    }
    if (facts.refusal == Refusal::kFault)
        fault("%s returned %d; the library needs 0 for success, because any other result counts as a refusal: %s.",
              facts.name, result, facts.otherwise);
    else
        note("%s returned %d, a refusal: %s.", facts.name, result, facts.otherwise);
    return false;
}

bool judge_allowed(Call call, int32_t result, const char *what)
{
    if (result != 0)
        note("%s returned %d, a refusal: this unit has no %s.", name(call), result, what);
    return result == 0;
}

int32_t close_report(bool stopped)
{
    const Locked locked;
    if (chosen.quiet == 0) {
        list_calls("Called, effect not visible from here:", is_made_unseen);
        list_calls("Not called:", is_not_made);
    }
    print_summary(stopped);
    if (stopped)
        return MC_PORTCHECK_STOPPED;
    return faults == 0 ? MC_PORTCHECK_PASSED : MC_PORTCHECK_FAILED;
}

} // namespace mcadapt::portcheck
