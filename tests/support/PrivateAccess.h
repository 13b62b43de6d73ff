#pragma once

/// Accesses a private member by name, without a friend declaration in the class: an explicit instantiation may name
/// private members.
///
/// NEROLT_PRIVATE(LoggerWorker, iQueue, QList<QByteArray>) defines LoggerWorker_iQueue(), a pointer to the member.
template <typename Tag, typename Tag::Type Member>
struct PrivateMember
{
    friend constexpr typename Tag::Type MemberOf(Tag) { return Member; }
};

#define NEROLT_PRIVATE(Class, member, ...)                                                                             \
    struct Class##_##member##_Tag                                                                                      \
    {                                                                                                                  \
        using Value = __VA_ARGS__;                                                                                     \
        using Type = Value Class::*;                                                                                   \
        friend constexpr Type MemberOf(Class##_##member##_Tag);                                                        \
    };                                                                                                                 \
    template struct PrivateMember<Class##_##member##_Tag, &Class::member>;                                             \
    constexpr Class##_##member##_Tag::Type Class##_##member()                                                          \
    {                                                                                                                  \
        return MemberOf(Class##_##member##_Tag());                                                                     \
    }

/// The same for a static member: Class_member() is a reference to it.
#define NEROLT_PRIVATE_STATIC(Class, member, ...)                                                                      \
    struct Class##_##member##_Tag                                                                                      \
    {                                                                                                                  \
        using Value = __VA_ARGS__;                                                                                     \
        using Type = Value*;                                                                                           \
        friend constexpr Type MemberOf(Class##_##member##_Tag);                                                        \
    };                                                                                                                 \
    template struct PrivateMember<Class##_##member##_Tag, &Class::member>;                                             \
    inline Class##_##member##_Tag::Value& Class##_##member()                                                           \
    {                                                                                                                  \
        return *MemberOf(Class##_##member##_Tag());                                                                    \
    }
