// What the shared library shows to those who link it; everything else stays inside.
#pragma once

#define KINORA_EXPORT __attribute__((visibility("default")))
