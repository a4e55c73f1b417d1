/* The thunks by number, and the body that they share. Every traced function takes integers and pointers in registers,
   and returns one or two of them; the recorder can pass a call on without knowing more. */
#include "tracing/recorder/slots.h"
#include "tracing/recorder/thunk.inc"

  .text

  .globl orva_trace_thunks
  .protected orva_trace_thunks
  .type orva_trace_thunks, @function
  .balign 16
orva_trace_thunks:
  .altmacro
  .set number, 0
  .rept ORVA_TRACE_SLOTS
  orva_trace_thunk %number
  .set number, number + 1
  .endr
  .noaltmacro
  .size orva_trace_thunks, . - orva_trace_thunks

/* On the stack, below the saved rbp, is a Frame of thread_trace.h: six arguments, two results, whether the call is
   recorded, and the number that the thunk pushed. The personality records the end of a call that an exception leaves.
   Without a landing pad, an uncaught exception ends the program where it was thrown. */
  .globl orva_trace_call
  .hidden orva_trace_call
  .type orva_trace_call, @function
  .balign 16
orva_trace_call:
  .cfi_startproc
  .cfi_personality 0x1b, orva_trace_personality
  .cfi_def_cfa %rbp, 16
  .cfi_offset %rbp, -16
  sub $72, %rsp
  mov %rdi, (%rsp)
  mov %rsi, 8(%rsp)
  mov %rdx, 16(%rsp)
  mov %rcx, 24(%rsp)
  mov %r8, 32(%rsp)
  mov %r9, 40(%rsp)
  mov %rsp, %rdi
  call orva_trace_enter
  mov %rax, %r11
  mov (%rsp), %rdi
  mov 8(%rsp), %rsi
  mov 16(%rsp), %rdx
  mov 24(%rsp), %rcx
  mov 32(%rsp), %r8
  mov 40(%rsp), %r9
  cmpq $0, 64(%rsp)
  je .Lnot_recorded
  call *%r11
  mov %rax, 48(%rsp)
  mov %rdx, 56(%rsp)
  mov %rsp, %rdi
  call orva_trace_leave
  mov 48(%rsp), %rax
  mov 56(%rsp), %rdx
  .cfi_remember_state
  leave
  .cfi_def_cfa %rsp, 8
  ret
.Lnot_recorded:
  .cfi_restore_state
  leave
  .cfi_def_cfa %rsp, 8
  jmp *%r11
  .cfi_endproc
  .size orva_trace_call, . - orva_trace_call

  .section .note.GNU-stack, "", @progbits
