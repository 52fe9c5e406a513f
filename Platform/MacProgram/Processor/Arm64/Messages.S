// What has no type: it passes on whatever arguments it was called with.

    .text

// Keeps the registers that hold arguments, and x8, where a large result goes.
.macro KEEP_ARGUMENTS
    stp x29, x30, [sp, #-16]!
    .cfi_def_cfa_offset 16
    .cfi_offset x29, -16
    .cfi_offset x30, -8
    mov x29, sp
    .cfi_def_cfa x29, 16
    sub sp, sp, #208
    stp x0, x1, [sp]
    stp x2, x3, [sp, #16]
    stp x4, x5, [sp, #32]
    stp x6, x7, [sp, #48]
    str x8, [sp, #64]
    stp q0, q1, [sp, #80]
    stp q2, q3, [sp, #112]
    stp q4, q5, [sp, #144]
    stp q6, q7, [sp, #176]
.endm

// Goes on at the address in x0, which then returns to the caller.
.macro RESTORE_ARGUMENTS_AND_GO_ON
    mov x16, x0
    ldp x0, x1, [sp]
    ldp x2, x3, [sp, #16]
    ldp x4, x5, [sp, #32]
    ldp x6, x7, [sp, #48]
    ldr x8, [sp, #64]
    ldp q0, q1, [sp, #80]
    ldp q2, q3, [sp, #112]
    ldp q4, q5, [sp, #144]
    ldp q6, q7, [sp, #176]
    mov sp, x29
    ldp x29, x30, [sp], #16
    .cfi_def_cfa sp, 0
    .cfi_restore x29
    .cfi_restore x30
    br x16
.endm

.macro FUNCTION name
    .globl \name
    .type \name, %function
    .p2align 4
\name:
    .cfi_startproc
.endm

.macro END_FUNCTION name
    .cfi_endproc
    .size \name, .-\name
.endm

// x0: the receiver, x1: the selector. Nothing, sent to, answers zero of whatever type.
FUNCTION mac_program_send
    cbz x0, 1f
    KEEP_ARGUMENTS
    bl objc_msg_lookup
    RESTORE_ARGUMENTS_AND_GO_ON
1:
    mov x1, #0
    movi d0, #0
    movi d1, #0
    movi d2, #0
    movi d3, #0
    ret
END_FUNCTION mac_program_send

// x0: a receiver and the class whose superclass is meant; the method gets the receiver in its place.
FUNCTION mac_program_send_to_superclass
    KEEP_ARGUMENTS
    bl mac_program_superclass_method
    ldr x9, [sp]
    ldr x9, [x9]
    str x9, [sp]
    RESTORE_ARGUMENTS_AND_GO_ON
END_FUNCTION mac_program_send_to_superclass

// w17: the number of the import that is called for the first time.
FUNCTION mac_program_first_call
    KEEP_ARGUMENTS
    mov w0, w17
    bl mac_program_note_call
    RESTORE_ARGUMENTS_AND_GO_ON
END_FUNCTION mac_program_first_call

// x0: a variable's description, of which the third word is its offset. Only x0, x16 and x17 may change.
FUNCTION mac_program_thread_local
    ldr x17, [x0, #16]
    mrs x16, tpidr_el0
    add x0, x16, #:tprel_hi12:mac_program_thread_locals
    add x0, x0, #:tprel_lo12_nc:mac_program_thread_locals
    add x0, x0, x17
    ret
END_FUNCTION mac_program_thread_local

// A Mac passes arguments that the prototype does not name on the stack, in 8 bytes each. Here their place
// becomes the next argument.
.macro WITH_PLACE_OF_ARGUMENTS name, register, function
FUNCTION \name
    mov \register, sp
    b \function
END_FUNCTION \name
.endm

WITH_PLACE_OF_ARGUMENTS mac_program_fcntl, x2, mac_program_fcntl_with
WITH_PLACE_OF_ARGUMENTS mac_program_fprintf, x2, mac_program_fprintf_with
WITH_PLACE_OF_ARGUMENTS mac_program_open, x2, mac_program_open_with
WITH_PLACE_OF_ARGUMENTS mac_program_snprintf, x3, mac_program_snprintf_with
WITH_PLACE_OF_ARGUMENTS mac_program_array, x3, mac_program_array_with
WITH_PLACE_OF_ARGUMENTS mac_program_formatted_string, x3, mac_program_formatted_string_with

    .section .note.GNU-stack,"",%progbits
