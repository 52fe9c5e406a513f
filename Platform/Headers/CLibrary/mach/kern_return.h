#pragma once

typedef int kern_return_t;
