#import "ObjectiveC/MethodReplacement.h"
#import "ObjectiveC/Retained.h"

#import <Foundation/Foundation.h>
#import <objc/associated_objects.h>

#include <map>
#include <mutex>
#include <unordered_map>
#include <utility>

namespace {

/// A value and, unless it is only assigned, a reference to it.
class Association {
public:
    Association(id value, objc_AssociationPolicy policy) : owned_(owned(value, policy)) {
        value_ = owned_.get() != nil ? owned_.get() : value;
    }

    [[nodiscard]] id value() const { return value_; }

private:
    static Retained<NSObject> owned(id value, objc_AssociationPolicy policy) {
        switch (policy & 0xF) {
        case OBJC_ASSOCIATION_RETAIN_NONATOMIC:
            return Retained<NSObject>(value);
        case OBJC_ASSOCIATION_COPY_NONATOMIC:
            return Retained<NSObject>::adopt([value copy]);
        default:
            return {};
        }
    }

    Retained<NSObject> owned_;
    id value_;
};

using Associations = std::map<const void*, Association>;
using Dealloc = void(id, SEL);

struct Tables {
    std::mutex mutex;
    std::unordered_map<id, Associations> associations;
    /// The former -dealloc of the classes whose objects have had associations.
    std::unordered_map<Class, Dealloc*> deallocs;
};

// Never destroyed: objects are deallocated until the process ends.
Tables& tables() {
    static Tables* const theTables = new Tables;
    return *theTables;
}

Associations takeAssociations(id object) {
    const std::scoped_lock lock(tables().mutex);
    auto node = tables().associations.extract(object);
    return node ? std::move(node.mapped()) : Associations();
}

Dealloc* formerDealloc(Class theClass) {
    const std::scoped_lock lock(tables().mutex);
    while (!tables().deallocs.contains(theClass)) {
        theClass = class_getSuperclass(theClass);
    }
    return tables().deallocs.at(theClass);
}

void deallocWithAssociations(id self, SEL selector) {
    Dealloc* const former = formerDealloc(object_getClass(self));
    takeAssociations(self).clear();
    former(self, selector);
}

// The class next to the root: its -dealloc is the last one that is not every object's.
Class branchOf(id object) {
    Class branch = object_getClass(object);
    for (Class next = class_getSuperclass(branch);
         next != nullptr && class_getSuperclass(next) != nullptr;
         next = class_getSuperclass(next)) {
        branch = next;
    }
    return branch;
}

void watchDealloc(id object) {
    Class const branch = branchOf(object);
    if (!tables().deallocs.contains(branch)) {
        tables().deallocs[branch] = functionOf<Dealloc>(replaceInstanceMethod(
            branch, @selector(dealloc), implementationOf(deallocWithAssociations)));
    }
}

} // namespace

void objc_setAssociatedObject(id object, const void* key, id value, objc_AssociationPolicy policy) {
    if (object == nil) {
        return;
    }
    // What is replaced is released after the lock, as its own -dealloc may come back here.
    Association association(value, policy);
    const std::scoped_lock lock(tables().mutex);
    watchDealloc(object);
    Associations& associations = tables().associations[object];
    const auto [place, isNew] = associations.try_emplace(key, nil, OBJC_ASSOCIATION_ASSIGN);
    std::swap(place->second, association);
    if (value == nil) {
        associations.erase(place);
    }
}

id objc_getAssociatedObject(id object, const void* key) {
    const std::scoped_lock lock(tables().mutex);
    const auto found = tables().associations.find(object);
    if (found == tables().associations.end()) {
        return nil;
    }
    const auto association = found->second.find(key);
    return association == found->second.end() ? nil : association->second.value();
}

void objc_removeAssociatedObjects(id object) {
    takeAssociations(object).clear();
}
