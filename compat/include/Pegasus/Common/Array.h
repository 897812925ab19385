//
// Array<T>; see <Pegasus/Common/ArrayInter.h>.
//
#ifndef Pegasus_Array_h
#define Pegasus_Array_h

#include <Pegasus/Common/Config.h>
#include <Pegasus/Common/ArrayInter.h>
#include <Pegasus/Common/Char16.h>
#include <Pegasus/Common/String.h>

#endif /* Pegasus_Array_h */
