# What has no type: it passes on whatever arguments it was called with.

    .text

# Keeps the registers that hold arguments. The stack is aligned inside, as the call has pushed 8 bytes.
.macro KEEP_ARGUMENTS
    pushq %rbp
    .cfi_def_cfa_offset 16
    .cfi_offset %rbp, -16
    movq %rsp, %rbp
    .cfi_def_cfa_register %rbp
    subq $192, %rsp
    movq %rdi, (%rsp)
    movq %rsi, 8(%rsp)
    movq %rdx, 16(%rsp)
    movq %rcx, 24(%rsp)
    movq %r8, 32(%rsp)
    movq %r9, 40(%rsp)
    movq %rax, 48(%rsp)
    movq %r10, 56(%rsp)
    movups %xmm0, 64(%rsp)
    movups %xmm1, 80(%rsp)
    movups %xmm2, 96(%rsp)
    movups %xmm3, 112(%rsp)
    movups %xmm4, 128(%rsp)
    movups %xmm5, 144(%rsp)
    movups %xmm6, 160(%rsp)
    movups %xmm7, 176(%rsp)
.endm

# Goes on at the address in rax, which then returns to the caller.
.macro RESTORE_ARGUMENTS_AND_GO_ON
    movq %rax, %r11
    movq (%rsp), %rdi
    movq 8(%rsp), %rsi
    movq 16(%rsp), %rdx
    movq 24(%rsp), %rcx
    movq 32(%rsp), %r8
    movq 40(%rsp), %r9
    movq 48(%rsp), %rax
    movq 56(%rsp), %r10
    movups 64(%rsp), %xmm0
    movups 80(%rsp), %xmm1
    movups 96(%rsp), %xmm2
    movups 112(%rsp), %xmm3
    movups 128(%rsp), %xmm4
    movups 144(%rsp), %xmm5
    movups 160(%rsp), %xmm6
    movups 176(%rsp), %xmm7
    leave
    .cfi_def_cfa %rsp, 8
    .cfi_restore %rbp
    jmpq *%r11
.endm

.macro FUNCTION name
    .globl \name
    .type \name, @function
    .p2align 4
\name:
    .cfi_startproc
.endm

.macro END_FUNCTION name
    .cfi_endproc
    .size \name, .-\name
.endm

# rdi: the receiver, rsi: the selector. Nothing, sent to, answers zero of whatever type.
FUNCTION mac_program_send
    testq %rdi, %rdi
    jz 1f
    KEEP_ARGUMENTS
    call objc_msg_lookup@PLT
    RESTORE_ARGUMENTS_AND_GO_ON
1:
    xorl %eax, %eax
    xorl %edx, %edx
    xorps %xmm0, %xmm0
    xorps %xmm1, %xmm1
    ret
END_FUNCTION mac_program_send

# rdi: where the result goes, rsi: the receiver, rdx: the selector.
FUNCTION mac_program_send_with_result_in_memory
    testq %rsi, %rsi
    jz 1f
    KEEP_ARGUMENTS
    movq %rsi, %rdi
    movq %rdx, %rsi
    call objc_msg_lookup@PLT
    RESTORE_ARGUMENTS_AND_GO_ON
1:
    movq %rdi, %rax
    ret
END_FUNCTION mac_program_send_with_result_in_memory

# rdi: a receiver and the class whose superclass is meant; the method gets the receiver in its place.
FUNCTION mac_program_send_to_superclass
    KEEP_ARGUMENTS
    call mac_program_superclass_method@PLT
    movq (%rsp), %rdi
    movq (%rdi), %rdi
    movq %rdi, (%rsp)
    RESTORE_ARGUMENTS_AND_GO_ON
END_FUNCTION mac_program_send_to_superclass

# r11: the number of the import that is called for the first time.
FUNCTION mac_program_first_call
    KEEP_ARGUMENTS
    movl %r11d, %edi
    call mac_program_note_call@PLT
    RESTORE_ARGUMENTS_AND_GO_ON
END_FUNCTION mac_program_first_call

# rdi: a variable's description, of which the third word is its offset. Only rax may change.
FUNCTION mac_program_thread_local
    movq %fs:0, %rax
    leaq mac_program_thread_locals@tpoff(%rax), %rax
    addq 16(%rdi), %rax
    ret
END_FUNCTION mac_program_thread_local

    .section .note.GNU-stack,"",@progbits
