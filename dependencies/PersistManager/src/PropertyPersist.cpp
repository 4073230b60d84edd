#include "PropertyPersist.h"

void PropertyPersist::LoadInfo() {}
