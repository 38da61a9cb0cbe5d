// Sequences of operations, each of the exported ones, with frames between them.
#include "fuzz/fuzzer.h"
#include "fuzz/session.h"

using namespace mcadapt::fuzz;

static void other_step(Session &session, std::size_t choice)
{
    switch (choice % 10) {
    case 0:
        return session.refusals();
    case 1:
        return session.unit();
    case 2:
        return session.gathered();
    case 3:
        return session.segment();
    case 4:
        return session.no_memory();
    case 5:
        return session.operation_meanwhile();
    case 6:
        return session.poke_mode();
    case 7:
        return session.poke_ports();
    default:
        return session.frame();
    }
}

static void steps(Session &session)
{
    for (int i = 0; i < 128 && session.more(); ++i) {
        const std::size_t choice = session.choose(UINT8_MAX);
        if (choice < kOperations)
            session.operation(choice);
        else
            other_step(session, choice - kOperations);
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
