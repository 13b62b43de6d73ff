/* Next to nothing: what matters is the machine that it is made for. */
int answer(void)
{
    return 42;
}
