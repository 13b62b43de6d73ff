#include "FakeFoundation.h"

#import <Foundation/Foundation.h>

#include <objc/runtime.h>

#include <algorithm>
#include <cmath>
#include <utility>
#include <vector>

// The runtime keeps its tables until the end. The objects are counted here.
extern "C" const char* __lsan_default_suppressions();
extern "C" const char* __lsan_default_suppressions()
{
    return "leak:libobjc.so";
}

namespace {

FakeFoundation::Answers gAnswers;
QStringList gMessages;
std::vector<NSObject*> gObjects; // includes released ones until the next start, to detect late messages to them
std::vector<NSObject*>* gPool = nullptr;
NSFileManager* gManager = nil;
NSProcessInfo* gProcess = nil;

// What any object holds. It lies behind the object, since the declarations, which the build without a Mac shares, have
// no members.
struct Contents
{
    long iOwners;
    const QString* iText; // of a string that is none of the constants
    const char* iConstant; // the name of one
    double iSeconds;
    BOOL iValue;
    id iKey;
    id iObject;
};

// The library sees these as constants, so they are static. They get their class when that is loaded.
struct Constant
{
    Class iClass;
    Contents iContents;
};

Constant gCreationDate = {Nil, {1, nullptr, "NSFileCreationDate", 0, NO, nil, nil}};
Constant gModificationDate = {Nil, {1, nullptr, "NSFileModificationDate", 0, NO, nil, nil}};
Constant gImmutable = {Nil, {1, nullptr, "NSFileImmutable", 0, NO, nil, nil}};

Contents& In(id object)
{
    return *static_cast<Contents*>(object_getIndexedIvars(object));
}

bool IsA(id object, const char* className)
{
    return object_getClass(object) == objc_getClass(className);
}

template <typename Object>
Object* Create(const char* className)
{
    Object* const object = class_createInstance(objc_getClass(className), sizeof(Contents));
    [object retain];
    gObjects.push_back(object);
    return object;
}

NSDate* Date(const std::optional<double>& seconds)
{
    if (!seconds)
        return nil;
    NSDate* const date = Create<NSDate>("NSDate");
    In(date).iSeconds = *seconds;
    return [date autorelease];
}

NSString* String(const QString& text)
{
    NSString* const string = Create<NSString>("NSString");
    In(string).iText = new QString(text);
    return [string autorelease];
}

QString DateText(NSDate* date)
{
    return QStringLiteral("date %1").arg(std::llround(In(date).iSeconds * 1000));
}

QString StringText(NSString* string)
{
    if (In(string).iConstant)
        return QString::fromLatin1(In(string).iConstant);
    return QLatin1Char('"') + *In(string).iText + QLatin1Char('"');
}

QString Text(id object)
{
    if (!object)
        return QStringLiteral("nil");
    if ([object retainCount] < 1)
        return QStringLiteral("a dead object");
    if (IsA(object, "NSString"))
        return StringText(object);
    if (IsA(object, "NSDate"))
        return DateText(object);
    if (IsA(object, "NSNumber"))
        return QStringLiteral("number %1").arg(In(object).iValue);
    return QString::fromLatin1(object_getClassName(object));
}

QString ListText(const id* objects, NSUInteger count)
{
    QStringList texts;
    for (NSUInteger i = 0; i < count; ++i)
        texts.append(Text(objects[i]));
    return texts.join(QLatin1String(", "));
}

QString ErrorText(NSError** error)
{
    return error ? QStringLiteral("&error") : QStringLiteral("nil");
}

// A '%' is replaced with the next argument.
void Record(const char* pattern, QStringList arguments = {})
{
    QString message;
    for (const QChar c : QString::fromLatin1(pattern))
        message += c == QLatin1Char('%') ? arguments.takeFirst() : QString(c);
    gMessages.append(message);
}

void Forget(NSObject* object)
{
    delete In(object).iText;
    object_dispose(object);
}

} // namespace

NSFileAttributeKey const NSFileCreationDate = reinterpret_cast<NSString*>(&gCreationDate);
NSFileAttributeKey const NSFileModificationDate = reinterpret_cast<NSString*>(&gModificationDate);
NSFileAttributeKey const NSFileImmutable = reinterpret_cast<NSString*>(&gImmutable);

@implementation NSObject

- (instancetype)retain
{
    ++In(self).iOwners;
    return self;
}

- (oneway void)release
{
    const long owners = --In(self).iOwners;
    if (owners < 0)
        Record("% released once too often", {QString::fromLatin1(object_getClassName(self))});
    if (owners == 0) {
        [In(self).iKey release];
        [In(self).iObject release];
    }
}

- (instancetype)autorelease
{
    if (gPool)
        gPool->push_back(self);
    else
        Record("% autoreleased without a pool", {QString::fromLatin1(object_getClassName(self))});
    return self;
}

- (NSUInteger)retainCount
{
    return NSUInteger(std::max(In(self).iOwners, 0L));
}

@end

@implementation NSString

+ (void)load
{
    for (Constant* const constant : {&gCreationDate, &gModificationDate, &gImmutable})
        constant->iClass = objc_getClass("NSString");
}

@end

@implementation NSDate
@end

@implementation NSNumber

+ (NSNumber*)numberWithBool:(BOOL)value
{
    Record("+[NSNumber numberWithBool:%]", {QString::number(value)});
    NSNumber* const number = Create<NSNumber>("NSNumber");
    In(number).iValue = value;
    return [number autorelease];
}

@end

// Holds one pair at most, or represents the attributes of a file.
@implementation NSDictionary

+ (instancetype)dictionaryWithObjects:(const id*)objects forKeys:(const id<NSCopying>*)keys count:(NSUInteger)count
{
    Record("+[NSDictionary dictionaryWithObjects:{%} forKeys:{%} count:%]",
           {ListText(objects, count), ListText(keys, count), QString::number(count)});
    NSDictionary* const dictionary = Create<NSDictionary>("NSDictionary");
    In(dictionary).iKey = [static_cast<id>(keys[0]) retain];
    In(dictionary).iObject = [objects[0] retain];
    return [dictionary autorelease];
}

- (id)objectForKeyedSubscript:(id)key
{
    Record("-[% objectForKeyedSubscript:%]", {Text(self), Text(key)});
    if (key == NSFileCreationDate)
        return Date(gAnswers.iCreationDate);
    return key == NSFileModificationDate ? Date(gAnswers.iModificationDate) : nil;
}

@end

@implementation NSFileManager

+ (NSFileManager*)defaultManager
{
    Record("+[NSFileManager defaultManager]");
    return gAnswers.iHasManager ? [[gManager retain] autorelease] : nil;
}

- (BOOL)fileExistsAtPath:(NSString*)path
{
    Record("-[NSFileManager fileExistsAtPath:%]", {Text(path)});
    return gAnswers.iFileExists;
}

- (NSDictionary*)attributesOfItemAtPath:(NSString*)path error:(NSError**)error
{
    Record("-[NSFileManager attributesOfItemAtPath:% error:%]", {Text(path), ErrorText(error)});
    return gAnswers.iHasAttributes ? [Create<NSDictionary>("NSDictionary") autorelease] : nil;
}

- (BOOL)setAttributes:(NSDictionary*)attributes ofItemAtPath:(NSString*)path error:(NSError**)error
{
    Record("-[NSFileManager setAttributes:{% = %} ofItemAtPath:% error:%]",
           {Text(In(attributes).iKey), Text(In(attributes).iObject), Text(path), ErrorText(error)});
    return gAnswers.iSetAttributes;
}

@end

@implementation NSProcessInfo

+ (NSProcessInfo*)processInfo
{
    Record("+[NSProcessInfo processInfo]");
    return gAnswers.iHasProcessInfo ? [[gProcess retain] autorelease] : nil;
}

- (NSOperatingSystemVersion)operatingSystemVersion
{
    Record("-[NSProcessInfo operatingSystemVersion]");
    return {gAnswers.iMajor, gAnswers.iMinor, gAnswers.iPatch};
}

@end

NSString* QString::toNSString() const
{
    return String(*this);
}

NSDate* QDateTime::toNSDate() const
{
    return Date(double(toMSecsSinceEpoch()) / 1000);
}

QDateTime QDateTime::fromNSDate(const NSDate* date)
{
    if (!date)
        return QDateTime();
    if ([const_cast<NSDate*>(date) retainCount] < 1)
        Record("QDateTime::fromNSDate(a dead object)");
    return fromMSecsSinceEpoch(std::llround(In(const_cast<NSDate*>(date)).iSeconds * 1000));
}

QMacAutoReleasePool::QMacAutoReleasePool()
    : iOuter(std::exchange(gPool, new std::vector<NSObject*>))
{
}

QMacAutoReleasePool::~QMacAutoReleasePool()
{
    for (NSObject* const object : *gPool)
        [object release];
    delete std::exchange(gPool, static_cast<std::vector<NSObject*>*>(iOuter));
}

void FakeFoundation::Start(const Answers& answers)
{
    std::for_each(gObjects.begin(), gObjects.end(), Forget);
    gObjects.clear();
    gMessages.clear();
    gAnswers = answers;
    if (!gManager) {
        gManager = [class_createInstance(objc_getClass("NSFileManager"), sizeof(Contents)) retain];
        gProcess = [class_createInstance(objc_getClass("NSProcessInfo"), sizeof(Contents)) retain];
    }
}

QStringList FakeFoundation::Messages()
{
    return gMessages;
}

int FakeFoundation::CreatedObjects()
{
    return int(gObjects.size());
}

int FakeFoundation::LiveObjects()
{
    return int(
        std::count_if(gObjects.begin(), gObjects.end(), [](NSObject* object) { return [object retainCount] > 0; }));
}

bool FakeFoundation::AreSystemObjectsKept()
{
    return [gManager retainCount] == 1 && [gProcess retainCount] == 1 && [NSFileCreationDate retainCount] == 1 &&
        [NSFileModificationDate retainCount] == 1 && [NSFileImmutable retainCount] == 1;
}
