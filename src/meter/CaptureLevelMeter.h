#pragma once
// owned by the implementation
