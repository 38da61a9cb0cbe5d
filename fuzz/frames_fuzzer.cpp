// Frames through the receive task, in every mode, with rules that operations set up and counts that hold anything.
#include "fuzz/fuzzer.h"
#include "fuzz/session.h"

using namespace mcadapt::fuzz;

static void step(Session &session)
{
    constexpr std::size_t kInstall = 31, kInstallMld = 32, kWeb = 35, kByMode = 36, kOverride = 29, kSend = 21;
    switch (session.choose(24)) {
    case 0:
    case 1:
        return session.operation(kInstall);
    case 2:
        return session.operation(kInstallMld);
    case 3:
        return session.operation(kByMode);
    case 4:
        return session.operation(kWeb);
    case 5:
        return session.operation(kOverride);
    case 6:
        return session.poke_count();
    case 7:
        return session.poke_ports();
    case 8:
        return session.poke_mode();
    case 9:
        return session.refusals();
    case 10:
        return session.unit();
    case 11:
        return session.operation_meanwhile();
    case 12:
        return session.any_operation();
    case 13:
        return session.operation(kSend);
    case 14:
        return session.operation(kSend + 1);
    default:
        return session.frame();
    }
}

static void steps(Session &session)
{
    for (int i = 0; i < 64 && session.more(); ++i) {
        step(session);
        session.check();
    }
}

int LLVMFuzzerInitialize(int *, char ***)
{
    take_standard_output();
    return 0;
}

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    run_twice(data, size, steps);
    return 0;
}
