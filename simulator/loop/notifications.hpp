// What the simulator's reset needs of the distributed notification center; simulator.hpp shows what
// was posted.
#pragma once

namespace simulator {

void forgetNotifications();

}  // namespace simulator
