# What Apple's compiler is asked to warn of in new projects, beyond the warnings used everywhere.
target_compile_options(CompilerWarnings INTERFACE
  -Wblock-capture-autoreleasing -Wbool-conversion -Wcomma -Wconstant-conversion
  -Wdeprecated-implementations -Wduplicate-method-match -Wempty-body -Wenum-conversion
  -Winfinite-recursion -Wint-conversion -Wnon-literal-null-conversion -Wnullable-to-nonnull-conversion
  -Wobjc-literal-conversion -Wobjc-root-class -Wquoted-include-in-framework-header
  -Wrange-loop-analysis -Wstrict-prototypes -Wmove -Wundeclared-selector
  -Wunguarded-availability -Wunreachable-code)
