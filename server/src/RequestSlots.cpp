#include "RequestSlots.h"

namespace cimhost
{

RequestSlots::RequestSlots(int count) : _free(count > 0 ? count : 1)
{
}

RequestSlots::Hold::Hold(RequestSlots& slots) : _slots(slots)
{
    std::unique_lock<std::mutex> lock(_slots._mutex);
    _slots._freed.wait(lock, [this] { return _slots._free > 0; });
    --_slots._free;
}

RequestSlots::Hold::~Hold()
{
    {
        std::lock_guard<std::mutex> lock(_slots._mutex);
        ++_slots._free;
    }
    _slots._freed.notify_one();
}

} // namespace cimhost
