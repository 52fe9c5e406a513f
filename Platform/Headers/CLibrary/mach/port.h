#pragma once

typedef unsigned int mach_port_t;

#define MACH_PORT_NULL ((mach_port_t)0)
