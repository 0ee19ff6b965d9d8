#include "CopyBits.inl"

void shr::CopyBits_base(const BitRuns& runs) noexcept { CopyBitsKernel(runs); }
