//
// Version of the provider API this SDK is compatible with.
//
#ifndef Pegasus_PegasusVersion_h
#define Pegasus_PegasusVersion_h

#define PEGASUS_PRODUCT_NAME "OpenPegasus"
#define PEGASUS_PRODUCT_VERSION "2.14.4"
#define PEGASUS_PRODUCT_STATUS ""
#define PEGASUS_VERSION_NUMBER 0x02140400

#endif /* Pegasus_PegasusVersion_h */
