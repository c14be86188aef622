// sorting/alg_m_Util.h - the upper bound of an array's dimension, without an error.
#pragma once

#include "runtime/Array.h"

namespace varnex3::alg_m_Util {

/// The upper bound of dimension `dim` (0 means the first); 0 when the array has no such dimension or
/// was never sized.
template <class T>
Long UBoundSafe(const Array1<T>& array, Long dim = 0)
{
    return dim == 0 || dim == 1 ? array.size() : 0;
}

template <class T>
Long UBoundSafe(const Array2<T>& array, Long dim = 0)
{
    if (dim == 0 || dim == 1) return array.rows();
    return dim == 2 ? array.cols() : 0;
}

template <class T>
Long UBoundSafe(const Array3<T>& array, Long dim = 0)
{
    if (dim == 0 || dim == 1) return array.size1();
    if (dim == 2) return array.size2();
    return dim == 3 ? array.size3() : 0;
}

} // namespace varnex3::alg_m_Util
