/** A JSON Schema, as far as the descriptions of the service use it. */
export interface Schema {
  $ref?: string;
  type?: string;
  title?: string;
  description?: string;
  const?: unknown;
  default?: unknown;
  examples?: readonly unknown[];
  deprecated?: boolean;
  minimum?: number;
  maximum?: number;
  minLength?: number;
  pattern?: string;
  minItems?: number;
  maxItems?: number;
  items?: Schema;
  properties?: Readonly<Record<string, Schema>>;
  required?: readonly string[];
  additionalProperties?: boolean;
  oneOf?: readonly Schema[];
  anyOf?: readonly Schema[];
  not?: Schema;
  if?: Schema;
  then?: Schema;
  else?: Schema;
  'x-unit'?: string;
  'x-ascending'?: boolean;
}

interface Param {
  $ref?: string;
  name: string;
  required?: boolean;
  schema: Schema;
}

interface Example {
  name: string;
  params: readonly { name: string; value: unknown }[];
}

/** What `rpc.discover` answers, as far as it is looked at. */
export interface Document {
  methods: readonly {
    name: string;
    summary?: string;
    description?: string;
    tags?: readonly { $ref?: string; name?: string }[];
    params: readonly Param[];
    errors?: readonly { $ref: string }[];
    examples?: readonly Example[];
    'x-params'?: Schema;
    'x-refused'?: Readonly<Record<string, string>>;
  }[];
  components: {
    schemas: Readonly<Record<string, Schema>>;
    contentDescriptors?: Readonly<Record<string, Param>>;
    errors: Readonly<Record<string, { code: number; message: string }>>;
  };
}

export type Schemas = Readonly<Record<string, Schema>>;

/** What a method may refuse a call with. */
export interface Refusal {
  name: string;
  code: number;
  /** Why it does so here; otherwise what the error says. */
  text: string;
}

/** A method that can be called. */
export interface Method {
  name: string;
  summary: string;
  description: string;
  takesContext: boolean;
  /** What goes into its payload, or into its params where it has none; undefined where it takes nothing. */
  body: Schema | undefined;
  examples: readonly { name: string; body: unknown }[];
  refusals: readonly Refusal[];
}

const nameIn = (reference: string): string => reference.slice(reference.lastIndexOf('/') + 1);

/** Looks up what a schema refers to; what it says itself comes first. */
export function resolve(schema: Schema, schemas: Schemas): Schema {
  if (schema.$ref === undefined) return schema;
  const { $ref, ...own } = schema;
  return { ...resolve(schemas[nameIn($ref)] ?? {}, schemas), ...own };
}

/** The methods of a server in the order of its description, without the notifications that it sends. */
export function methodsOf({ methods, components }: Document): Method[] {
  const { contentDescriptors = {}, errors } = components;
  return methods
    .filter(({ tags = [] }) => !tags.some(({ $ref, name }) => name === 'notification' || $ref?.endsWith('/notification')))
    .map((method): Method => {
      const params = method.params.map((param) => (param.$ref === undefined ? param : contentDescriptors[nameIn(param.$ref)]!));
      const takesContext = params.some(({ name }) => name === 'context');
      const own = params.filter(({ name }) => name !== 'context');
      const payload = own.find(({ name }) => name === 'payload');
      const refused = method['x-refused'] ?? {};
      return {
        name: method.name,
        summary: method.summary ?? '',
        description: method.description ?? '',
        takesContext,
        body: takesContext ? payload?.schema : bodyOf(own, method['x-params']),
        examples: (method.examples ?? []).map(({ name, params }) => ({ name, body: takesContext ? valueOf(params, 'payload') : record(params) })),
        refusals: (method.errors ?? []).map(({ $ref }) => {
          const name = nameIn($ref);
          return { name, code: errors[name]!.code, text: refused[name] ?? errors[name]!.message };
        }),
      };
    });
}

type Values = readonly { name: string; value: unknown }[];
const valueOf = (params: Values, name: string) => params.find((param) => param.name === name)?.value;
const record = (params: Values) => (params.length === 0 ? undefined : Object.fromEntries(params.map(({ name, value }) => [name, value])));

/** Params without a context are an object by themselves. */
function bodyOf(params: readonly Param[], together: Schema = {}): Schema | undefined {
  if (params.length === 0) return undefined;
  return {
    type: 'object',
    properties: Object.fromEntries(params.map(({ name, schema }) => [name, schema])),
    required: params.filter(({ required }) => required).map(({ name }) => name),
    ...together,
  };
}
