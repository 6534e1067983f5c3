/*
 * driver_services.h: the table of front-end services a driver gets through
 * context->services.
 */
#ifndef KOSHR_DBI_DRIVER_SERVICES_H
#define KOSHR_DBI_DRIVER_SERVICES_H

#include <koshr/dbi.h>

namespace ko::dbi {

const DbiServices* driver_services();

}  // namespace ko::dbi

#endif
