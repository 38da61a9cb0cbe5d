/**
 * @file
 * Where the library's receive task gets its frames from.
 */
#ifndef MCADAPT_HOST_SWITCH_FRAME_SOURCE_H
#define MCADAPT_HOST_SWITCH_FRAME_SOURCE_H

#include <cstdint>

#include "host/observer.h"

namespace mcadapt::host {

/** One frame for the library. */
struct TrappedFrame {
    Bytes bytes; /**< At most `kDriverBufferBytes`; valid until the next call. */
    uint8_t port;
};

class FrameSource {
public:
    virtual ~FrameSource() = default;

    /**
     * Called by the receive task for each frame; everything else that is due happens in here.
     * @return False when there is none now.
     */
    virtual bool next(TrappedFrame &frame) = 0;

    /** Tells where the frame ends in the library's buffer, once it is there. */
    virtual void delivered(const uint8_t * /*end*/) {}
};

} // namespace mcadapt::host

#endif
