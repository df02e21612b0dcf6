#pragma once

#include <functional>
#include <string>
#include <vector>

namespace rewindle::bench {

/// One figure: what it costs to run `subject`, as a multiple of what `yardstick` costs in the same run.
struct Row {
    std::string name;
    std::string yardstickName;
    double required; // the ratio that must not be exceeded
    std::function<void()> subject;
    std::function<void()> yardstick;
};

/// Makes rows when asked to, so that a group's buffers live only while it is measured.
struct Group {
    std::string name;
    std::function<std::vector<Row>()> rows;
};

/// Each .cpp of this folder adds its groups by a static object of this type.
struct Registration {
    explicit Registration(Group group);
};
const std::vector<Group>& groups();

/// Keeps the compiler from dropping work whose result nobody reads.
void keep(const void* result);

} // namespace rewindle::bench
