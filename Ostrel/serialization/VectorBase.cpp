#include "Ostrel/serialization/VectorBase.h"

namespace Ostrel {

SerialObject::ObjectType VectorBase::getObjectType() const {
    return ObjectType::List;
}

} // namespace Ostrel
