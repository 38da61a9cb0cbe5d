#include "host/engine/timers.h"

namespace mcadapt::host {

void TimerQueue::put(std::size_t place, const Slot &slot)
{
    heap_[place] = slot;
    slot.timer->place = static_cast<uint32_t>(place);
}

void TimerQueue::sift_up(std::size_t place, const Slot &slot)
{
    while (place > 0) {
        const std::size_t parent = (place - 1) / 2;
        if (!before(slot, heap_[parent]))
            break;
        put(place, heap_[parent]);
        place = parent;
    }
    put(place, slot);
}

void TimerQueue::sift_down(std::size_t place, const Slot &slot)
{
    for (;;) {
        std::size_t child = 2 * place + 1;
        if (child >= heap_.size())
            break;
        if (child + 1 < heap_.size() && before(heap_[child + 1], heap_[child]))
            ++child;
        if (!before(heap_[child], slot))
            break;
        put(place, heap_[child]);
        place = child;
    }
    put(place, slot);
}

void TimerQueue::sift(std::size_t place, const Slot &slot)
{
    if (place > 0 && before(slot, heap_[(place - 1) / 2]))
        sift_up(place, slot);
    else
        sift_down(place, slot);
}

void TimerQueue::set(Timer &timer, Time due)
{
    if (due == kNever) {
        cancel(timer);
        return;
    }
    const Slot slot{due, order_++, &timer};
    if (timer.running()) {
        sift(timer.place, slot);
        return;
    }
    heap_.push_back(slot);
    sift_up(heap_.size() - 1, slot);
}

void TimerQueue::set_not_later(Timer &timer, Time due)
{
    if (!timer.running() || due < this->due(timer))
        set(timer, due);
}

void TimerQueue::cancel(Timer &timer)
{
    if (!timer.running())
        return;
    const std::size_t place = timer.place;
    timer.place = Timer::kIdle;
    const Slot last = heap_.back();
    heap_.pop_back();
    if (place < heap_.size())
        sift(place, last);
}

Timer *TimerQueue::take_due(Time now)
{
    if (heap_.empty() || heap_.front().due > now)
        return nullptr;
    Timer *timer = heap_.front().timer;
    cancel(*timer);
    return timer;
}

} // namespace mcadapt::host
