/** `Type` while its optional members may be undefined, too. */
type Loose<Type> = {
  [Name in keyof Type]: object extends Pick<Type, Name> ? Type[Name] | undefined : Type[Name];
};

/** The members that are given: an optional one that is undefined is left out. */
export function given<Type extends object>(members: Loose<Type>): Type {
  return Object.fromEntries(Object.entries(members).filter(([, value]) => value !== undefined)) as Type;
}
