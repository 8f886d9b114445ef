// What an OpenRPC document says of replies, errors and notifications.

import Ajv from 'ajv';

const methodNotFound = -32601; // of JSON-RPC

/**
 * Something that is not as it should be.
 * @typedef {object} Fault
 * @property {'answers'|'schema'|'errors'|'notifications'} check  what it is a fault of
 * @property {string} expected  what should have come
 */

/** A description of the wire, and judge of what travels. */
export class Description {
  #ajv = new Ajv.default({
    strict: true,
    strictRequired: false, // x-params requires what stands beside it
    allowUnionTypes: true,
    validateSchema: false,
  });
  #validators = new Map();

  /**
   * @param {object} document  an OpenRPC document
   * @throws {Error}  it is none
   */
  constructor(document) {
    if (typeof document?.openrpc !== 'string' || !Array.isArray(document.methods))
      throw new Error('it is no OpenRPC document');
    this.document = document;
    /** What clients call, and what the service sends by itself. */
    this.methods = document.methods.filter((method) => !this.#isNotification(method));
    this.notifications = document.methods.filter((method) => this.#isNotification(method));

    this.#ajv.addKeyword('x-unit');
    this.#ajv.addKeyword('components');
    this.#ajv.addKeyword({
      keyword: 'x-content-schema',
      type: 'string',
      validate: (schema, text) => !text.startsWith('{') || this.#holds(schema, text),
    });
    this.#ajv.addKeyword({
      keyword: 'x-ascending',
      type: 'array',
      validate: (_, list) => list.every((element, index) => index === 0 || list[index - 1] <= element),
    });
    // Whatever is compiled finds its references here.
    this.#ajv.addSchema({ components: document.components ?? {} }, 'openrpc');
  }

  /**
   * Sees to it that the methods can be called and judged.
   * @throws {Error}  one has no example, or one after a method that is not there, or a schema is none
   */
  assertUsable() {
    for (const method of this.methods) {
      if (!method.examples?.length) throw new Error(`${method.name} has no example`);
      for (const name of method.examples[0]['x-after'] ?? [])
        if (!this.findMethod(name)) throw new Error(`the example of ${method.name} comes after ${name}, which is no method`);
      this.validatorOf(this.paramsSchemaOf(method));
      this.validatorOf(method.result.schema);
    }
    for (const notification of this.notifications) this.validatorOf(this.paramsSchemaOf(notification));
  }

  #isNotification(method) {
    return (method.tags ?? []).some((tag) => this.resolve(tag).name === 'notification');
  }

  #holds(schema, text) {
    try {
      return this.validatorOf(schema)(JSON.parse(text));
    } catch {
      return false;
    }
  }

  /** Returns what a reference stands for; what is none stands for itself. */
  resolve(value) {
    if (value?.$ref === undefined) return value;
    return value.$ref
      .slice(2)
      .split('/')
      .reduce((part, name) => part?.[name], this.document);
  }

  paramsOf(method) {
    return method.params.map((param) => this.resolve(param));
  }

  /** Whether a method is called in a context. */
  takesContext(method) {
    return this.paramsOf(method).some(({ name }) => name === 'context');
  }

  /** Returns what clients call by this name, undefined for nothing. */
  findMethod(name) {
    return this.methods.find((method) => method.name === name);
  }

  /** Returns the function that tells whether a value is as a schema of the description has it. */
  validatorOf(schema) {
    if (!this.#validators.has(schema)) {
      const text = JSON.stringify(schema).replaceAll('"$ref":"#/', '"$ref":"openrpc#/');
      this.#validators.set(schema, this.#ajv.compile(JSON.parse(text)));
    }
    return this.#validators.get(schema);
  }

  /** Returns what is wrong with a value, in a line each. */
  faultsOf(schema, value, name) {
    const validate = this.validatorOf(schema);
    if (validate(value)) return [];
    return validate.errors.map(({ instancePath, message, params }) => {
      const detail = params.additionalProperty ?? params.allowedValue ?? params.allowedValues;
      return `${name}${instancePath} ${message}${detail === undefined ? '' : `: ${JSON.stringify(detail)}`}`;
    });
  }

  /** Returns the schema of a method's params: of each by itself, and in x-params of all together. */
  paramsSchemaOf(method) {
    const params = this.paramsOf(method);
    return {
      ...method['x-params'],
      type: 'object',
      required: params.filter((param) => param.required).map((param) => param.name),
      properties: Object.fromEntries(params.map((param) => [param.name, param.schema])),
    };
  }

  #errorsOf(method) {
    return method?.errors ?? this.document['x-protocol-errors'] ?? [];
  }

  /** Returns what sets an error with the right code apart from a described one, in a line each. */
  #differencesOf(described, error) {
    if (described.data === undefined) return error.data === undefined ? [] : ['without data'];
    const faults = this.faultsOf(described.data, error.data, 'data');
    // What has a result code has its text as well; other texts name what was wrong.
    if (faults.length === 0 && error.data.returnCode !== undefined && described.message !== error.message)
      faults.push(`with the message ${JSON.stringify(described.message)}`);
    return faults;
  }

  /**
   * Returns the name that the description has for an error, undefined for one that is not described.
   * @param method  undefined where none was found or the request was none
   */
  nameOfError(method, error) {
    return this.#errorsOf(method)
      .find((reference) => {
        const described = this.resolve(reference);
        return described.code === error?.code && this.#differencesOf(described, error).length === 0;
      })
      ?.$ref.split('/')
      .at(-1);
  }

  /** Tells which errors would have been right, the likely ones alone where some are. */
  #expectedErrors(method, error) {
    const all = this.#errorsOf(method).map((reference) => [
      reference.$ref.split('/').at(-1),
      this.resolve(reference),
    ]);
    const sameCode = all.filter(([, { code }]) => code === error?.code);
    const sameMessage = sameCode.filter(([, { message }]) => message === error.message);
    const likely = sameMessage.length > 0 ? sameMessage : sameCode;
    if (likely.length === 0) return `an error of ${all.map(([name, { code }]) => `${name} (${code})`).join(', ')}`;
    return likely
      .map(([name, described]) => `${name}: ${this.#differencesOf(described, error).join(', ')}`)
      .join('; or ');
  }

  /**
   * Returns what is wrong with a reply.
   * @returns {Fault[]}
   */
  faultsOfReply(method, reply) {
    const outcomes = ['result', 'error'].filter((name) => name in Object(reply));
    if (reply?.jsonrpc !== '2.0' || !('id' in reply) || outcomes.length !== 1)
      return [{ check: 'answers', expected: 'a reply of JSON-RPC 2.0, with either a result or an error' }];
    if ('error' in reply) {
      if (method && reply.error?.code === methodNotFound)
        return [{ check: 'answers', expected: 'that it knows this method' }];
      if (this.nameOfError(method, reply.error)) return [];
      return [{ check: 'errors', expected: this.#expectedErrors(method, reply.error) }];
    }
    if (method === undefined) return [{ check: 'answers', expected: 'an error: there is no such method' }];
    return this.faultsOf(method.result.schema, reply.result, 'result').map((expected) => ({
      check: 'schema',
      expected,
    }));
  }

  /**
   * Returns what is wrong with a notification.
   * @returns {Fault[]}
   */
  faultsOfNotification({ method: name, params }) {
    const described = this.notifications.find((method) => method.name === name);
    if (described === undefined)
      return [{ check: 'notifications', expected: 'a notification that is described' }];
    const schema = { ...this.paramsSchemaOf(described), additionalProperties: false };
    return this.faultsOf(schema, params, 'params').map((expected) => ({ check: 'notifications', expected }));
  }
}
