#pragma once

// Marks what libZunoHelper.so offers to other libraries; everything else in it is hidden.

#define ZUNOHELPER_API __attribute__((visibility("default")))
