#pragma once

extern "C" {

// In Messages.S of the processor. They pass all arguments on as they are, so that nobody here calls
// them by a type.

void mac_program_send();
void mac_program_send_to_superclass();
void mac_program_first_call();
void mac_program_thread_local();

} // extern "C"
