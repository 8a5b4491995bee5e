# int32_t invoke32(void* function, const uint32_t* arguments, int words, int shift, int* popped,
#                  float* real)
# Calls the function with its arguments on a stack that is `shift` bytes off a multiple of 16, and
# says how many bytes of them are gone when it returns.
        .text
        .globl  _invoke32
_invoke32:
        pushl   %ebp
        movl    %esp, %ebp
        pushl   %ebx
        pushl   %esi
        pushl   %edi
        movl    16(%ebp), %ecx
        leal    (,%ecx,4), %eax         # so much below a multiple of 16 that the arguments end
        andl    $-16, %esp              # at one, and the shift below that
        negl    %eax
        andl    $15, %eax
        subl    %eax, %esp
        subl    20(%ebp), %esp
        movl    12(%ebp), %esi
1:      decl    %ecx
        js      2f
        pushl   (%esi,%ecx,4)
        jmp     1b
2:      movl    %esp, %ebx
        call    *8(%ebp)
        movl    %esp, %ecx
        subl    %ebx, %ecx
        movl    24(%ebp), %edx
        movl    %ecx, (%edx)
        movl    28(%ebp), %edx
        testl   %edx, %edx
        jz      3f
        fstps   (%edx)
3:      leal    -12(%ebp), %esp
        popl    %edi
        popl    %esi
        popl    %ebx
        popl    %ebp
        ret
