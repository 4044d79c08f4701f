// printf-style formats whose text comes from the string table ("%ld files", "%@ %@",
// "%1$.0lf of %2$.0lf records exported"): looked up first, filled afterwards. Qt's own
// formatting knows neither %@ nor positional arguments, hence this small formatter.
#pragma once

#include <QString>
#include <QVariantList>

// Fills `format` with `arguments`: %@ and %s take any value's text; %d %i %u %ld %lu %lld
// %llu %x %X take integers; %f %lf %e %g (with precision, e.g. %.0lf) take numbers; %% is a
// percent sign; "%N$" picks the N-th argument. Flags "-" and "0" and a width pad the result.
// A missing argument gives no text; a conversion it does not know is copied as it stands.
QString OVStringWithFormat(const QString &format, const QVariantList &arguments);
