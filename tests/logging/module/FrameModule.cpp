// An image with functions to find in it: one that shows its name, and one that hides it.

namespace {

void Nameless()
{
    asm volatile("" : : : "memory");
}

} // namespace

extern "C" {

__attribute__((visibility("default"))) void module_call(void (*call)(void*), void* context)
{
    call(context);
    asm volatile("" : : : "memory"); // or the call would be a jump, and this function not on the stack
}

__attribute__((visibility("default"))) const void* module_nameless()
{
    return reinterpret_cast<const void*>(&Nameless);
}
}
