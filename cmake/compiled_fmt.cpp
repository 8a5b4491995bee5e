// The part of fmt that is not a template of its caller, compiled once into what is installed.
// Debian has that part as a shared library only, which a library that is copied to another
// machine must not ask for; compiled into each file, it is three quarters of that file's time.
#include <fmt/format-inl.h>

// What the header declares and asks its compiled part to define for narrow text.
FMT_BEGIN_NAMESPACE
namespace detail {
template FMT_API auto thousands_sep_impl<char>(locale_ref) -> thousands_sep_result<char>;
template FMT_API auto decimal_point_impl<char>(locale_ref) -> char;
namespace dragonbox {
template FMT_API auto to_decimal(float x) noexcept -> decimal_fp<float>;
template FMT_API auto to_decimal(double x) noexcept -> decimal_fp<double>;
}  // namespace dragonbox
}  // namespace detail
FMT_END_NAMESPACE
